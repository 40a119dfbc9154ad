/*
 * The types whose fields have names: offsets and versions are those of the SMBIOS standard
 * (DSP0134), section 7, types 225 and 226 those of the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/layout.h"

namespace tvq::table {
namespace {

using Kind = FieldKind;

Layout Bios() {
  return {0,
          "bios",
          {{"vendor", 0x04, Kind::kString},
           {"version", 0x05, Kind::kString},
           {"segment", 0x06, Kind::kHex16},
           {"release-date", 0x08, Kind::kString},
           {"rom-size", 0x09, Kind::kHex8},
           {"characteristics", 0x0A, Kind::kHex64},
           {"extension1", 0x12, Kind::kHex8, {2, 1}},
           {"extension2", 0x13, Kind::kHex8, {2, 3}},
           {"major-release", 0x14, Kind::kDec8, {2, 4}},
           {"minor-release", 0x15, Kind::kDec8, {2, 4}},
           {"controller-major-release", 0x16, Kind::kDec8, {2, 4}},
           {"controller-minor-release", 0x17, Kind::kDec8, {2, 4}},
           {"extended-rom-size", 0x18, Kind::kHex16, {3, 1}}}};
}

Layout System() {
  return {1,
          "system",
          {{"manufacturer", 0x04, Kind::kString},
           {"product", 0x05, Kind::kString},
           {"version", 0x06, Kind::kString},
           {"serial", 0x07, Kind::kString},
           {"uuid", 0x08, Kind::kUuid, {2, 1}},
           {"wake-up", 0x18, Kind::kHex8, {2, 1}},
           {"sku", 0x19, Kind::kString, {2, 4}},
           {"family", 0x1A, Kind::kString, {2, 4}}}};
}

Layout Board() {
  return {2,
          "board",
          {{"manufacturer", 0x04, Kind::kString},
           {"product", 0x05, Kind::kString},
           {"version", 0x06, Kind::kString},
           {"serial", 0x07, Kind::kString},
           {"asset-tag", 0x08, Kind::kString},
           {"features", 0x09, Kind::kHex8},
           {"location", 0x0A, Kind::kString},
           {"chassis", 0x0B, Kind::kHandle},
           {"board-type", 0x0D, Kind::kHex8},
           {"contained-count", 0x0E, Kind::kGroupCount}},
          {"contains", 0x0F, {Kind::kHandle}}};
}

Layout Chassis() {
  return {3,
          "chassis",
          {{"manufacturer", 0x04, Kind::kString},
           {"chassis-type", 0x05, Kind::kHex8},
           {"version", 0x06, Kind::kString},
           {"serial", 0x07, Kind::kString},
           {"asset-tag", 0x08, Kind::kString},
           {"boot-up-state", 0x09, Kind::kHex8, {2, 1}},
           {"power-supply-state", 0x0A, Kind::kHex8, {2, 1}},
           {"thermal-state", 0x0B, Kind::kHex8, {2, 1}},
           {"security-status", 0x0C, Kind::kHex8, {2, 1}},
           {"oem", 0x0D, Kind::kHex32, {2, 3}},
           {"height", 0x11, Kind::kDec8, {2, 3}},
           {"power-cords", 0x12, Kind::kDec8, {2, 3}},
           {"element-count", 0x13, Kind::kDec8, {2, 3}},
           {"element-size", 0x14, Kind::kDec8, {2, 3}},
           {"sku", 0x15, Kind::kString, {2, 7}}},
          {},
          {0x13, 0x15}};
}

Layout Processor() {
  return {4,
          "processor",
          {{"socket", 0x04, Kind::kString},
           {"processor-type", 0x05, Kind::kHex8},
           {"family", 0x06, Kind::kHex8},
           {"manufacturer", 0x07, Kind::kString},
           {"id", 0x08, Kind::kHex64},
           {"version", 0x10, Kind::kString},
           {"voltage", 0x11, Kind::kHex8},
           {"external-clock", 0x12, Kind::kDec16},
           {"max-speed", 0x14, Kind::kDec16},
           {"current-speed", 0x16, Kind::kDec16},
           {"status", 0x18, Kind::kHex8},
           {"upgrade", 0x19, Kind::kHex8},
           {"l1-cache", 0x1A, Kind::kHandle, {2, 1}},
           {"l2-cache", 0x1C, Kind::kHandle, {2, 1}},
           {"l3-cache", 0x1E, Kind::kHandle, {2, 1}},
           {"serial", 0x20, Kind::kString, {2, 3}},
           {"asset-tag", 0x21, Kind::kString, {2, 3}},
           {"part-number", 0x22, Kind::kString, {2, 3}},
           {"core-count", 0x23, Kind::kDec8, {2, 5}},
           {"core-enabled", 0x24, Kind::kDec8, {2, 5}},
           {"thread-count", 0x25, Kind::kDec8, {2, 5}},
           {"characteristics", 0x26, Kind::kHex16, {2, 5}},
           {"family2", 0x28, Kind::kHex16, {2, 6}},
           {"core-count2", 0x2A, Kind::kDec16, {3, 0}},
           {"core-enabled2", 0x2C, Kind::kDec16, {3, 0}},
           {"thread-count2", 0x2E, Kind::kDec16, {3, 0}},
           {"thread-enabled", 0x30, Kind::kDec16, {3, 6}}}};
}

Layout Cache() {
  return {7,
          "cache",
          {{"socket", 0x04, Kind::kString},
           {"configuration", 0x05, Kind::kHex16},
           {"maximum-size", 0x07, Kind::kHex16},
           {"installed-size", 0x09, Kind::kHex16},
           {"supported-sram", 0x0B, Kind::kHex16},
           {"current-sram", 0x0D, Kind::kHex16},
           {"speed", 0x0F, Kind::kDec8, {2, 1}},
           {"error-correction", 0x10, Kind::kHex8, {2, 1}},
           {"system-cache-type", 0x11, Kind::kHex8, {2, 1}},
           {"associativity", 0x12, Kind::kHex8, {2, 1}},
           {"maximum-size2", 0x13, Kind::kHex32, {3, 1}},
           {"installed-size2", 0x17, Kind::kHex32, {3, 1}}}};
}

Layout PortConnector() {
  return {8,
          "port-connector",
          {{"internal", 0x04, Kind::kString},
           {"internal-type", 0x05, Kind::kHex8},
           {"external", 0x06, Kind::kString},
           {"external-type", 0x07, Kind::kHex8},
           {"port-type", 0x08, Kind::kHex8}}};
}

Layout Slot() {
  return {9,
          "slot",
          {{"designation", 0x04, Kind::kString},
           {"slot-type", 0x05, Kind::kHex8},
           {"data-bus-width", 0x06, Kind::kHex8},
           {"usage", 0x07, Kind::kHex8},
           {"slot-length", 0x08, Kind::kHex8},
           {"id", 0x09, Kind::kDec16},
           {"characteristics1", 0x0B, Kind::kHex8},
           {"characteristics2", 0x0C, Kind::kHex8, {2, 1}},
           {"segment", 0x0D, Kind::kHex16, {2, 6}},
           {"bus", 0x0F, Kind::kHex8, {2, 6}},
           {"device-function", 0x10, Kind::kHex8, {2, 6}},
           {"base-width", 0x11, Kind::kHex8, {3, 2}},
           {"peer-count", 0x12, Kind::kDec8, {3, 2}},
           {"slot-information", 0x13, Kind::kHex8, {3, 4}},
           {"physical-width", 0x14, Kind::kHex8, {3, 4}},
           {"pitch", 0x15, Kind::kDec16, {3, 4}},
           {"height", 0x17, Kind::kHex8, {3, 5}}},
          {},
          {0x12, 0x13}};
}

Layout OemStrings() {
  return {11, "oem-strings", {{"count", 0x04, Kind::kStringCount}}};
}

Layout ConfigurationOptions() {
  return {12, "configuration-options", {{"count", 0x04, Kind::kStringCount}}};
}

Layout Languages() {
  return {13,
          "languages",
          {{"count", 0x04, Kind::kStringCount},
           {"flags", 0x05, Kind::kHex8},
           {"current", 0x15, Kind::kString}}};
}

Layout GroupAssociations() {
  return {14,
          "group-associations",
          {{"name", 0x04, Kind::kString}},
          {"item", 0x05, {Kind::kDec8, Kind::kHandle}}};
}

Layout MemoryArray() {
  return {16,
          "memory-array",
          {{"location", 0x04, Kind::kHex8},
           {"use", 0x05, Kind::kHex8},
           {"error-correction", 0x06, Kind::kHex8},
           {"maximum-capacity", 0x07, Kind::kHex32},
           {"error-handle", 0x0B, Kind::kHandle},
           {"device-count", 0x0D, Kind::kDec16},
           {"extended-maximum-capacity", 0x0F, Kind::kHex64, {2, 7}}}};
}

Layout MemoryDevice() {
  return {17,
          "memory-device",
          {{"array", 0x04, Kind::kHandle},
           {"error-handle", 0x06, Kind::kHandle},
           {"total-width", 0x08, Kind::kDec16},
           {"data-width", 0x0A, Kind::kDec16},
           {"size", 0x0C, Kind::kDec16},
           {"form-factor", 0x0E, Kind::kHex8},
           {"device-set", 0x0F, Kind::kDec8},
           {"locator", 0x10, Kind::kString},
           {"bank", 0x11, Kind::kString},
           {"memory-type", 0x12, Kind::kHex8},
           {"type-detail", 0x13, Kind::kHex16},
           {"speed", 0x15, Kind::kDec16, {2, 3}},
           {"manufacturer", 0x17, Kind::kString, {2, 3}},
           {"serial", 0x18, Kind::kString, {2, 3}},
           {"asset-tag", 0x19, Kind::kString, {2, 3}},
           {"part-number", 0x1A, Kind::kString, {2, 3}},
           {"attributes", 0x1B, Kind::kHex8, {2, 6}},
           {"extended-size", 0x1C, Kind::kDec32, {2, 7}},
           {"configured-speed", 0x20, Kind::kDec16, {2, 7}},
           {"minimum-voltage", 0x22, Kind::kDec16, {2, 8}},
           {"maximum-voltage", 0x24, Kind::kDec16, {2, 8}},
           {"configured-voltage", 0x26, Kind::kDec16, {2, 8}},
           {"technology", 0x28, Kind::kHex8, {3, 2}},
           {"operating-modes", 0x29, Kind::kHex16, {3, 2}},
           {"firmware-version", 0x2B, Kind::kString, {3, 2}},
           {"module-manufacturer-id", 0x2C, Kind::kHex16, {3, 2}},
           {"module-product-id", 0x2E, Kind::kHex16, {3, 2}},
           {"controller-manufacturer-id", 0x30, Kind::kHex16, {3, 2}},
           {"controller-product-id", 0x32, Kind::kHex16, {3, 2}},
           {"non-volatile-size", 0x34, Kind::kHex64, {3, 2}},
           {"volatile-size", 0x3C, Kind::kHex64, {3, 2}},
           {"cache-size", 0x44, Kind::kHex64, {3, 2}},
           {"logical-size", 0x4C, Kind::kHex64, {3, 2}},
           {"extended-speed", 0x54, Kind::kDec32, {3, 3}},
           {"extended-configured-speed", 0x58, Kind::kDec32, {3, 3}},
           {"pmic-manufacturer-id", 0x5C, Kind::kHex16, {3, 7}},
           {"pmic-revision", 0x5E, Kind::kHex16, {3, 7}},
           {"rcd-manufacturer-id", 0x60, Kind::kHex16, {3, 7}},
           {"rcd-revision", 0x62, Kind::kHex16, {3, 7}}}};
}

Layout ArrayAddress() {
  return {19,
          "memory-array-address",
          {{"start", 0x04, Kind::kHex32},
           {"end", 0x08, Kind::kHex32},
           {"array", 0x0C, Kind::kHandle},
           {"partition-width", 0x0E, Kind::kDec8},
           {"extended-start", 0x0F, Kind::kHex64, {2, 7}},
           {"extended-end", 0x17, Kind::kHex64, {2, 7}}}};
}

Layout DeviceAddress() {
  return {20,
          "memory-device-address",
          {{"start", 0x04, Kind::kHex32},
           {"end", 0x08, Kind::kHex32},
           {"device", 0x0C, Kind::kHandle},
           {"array-address", 0x0E, Kind::kHandle},
           {"partition-row", 0x10, Kind::kHex8},
           {"interleave-position", 0x11, Kind::kHex8},
           {"interleave-depth", 0x12, Kind::kHex8},
           {"extended-start", 0x13, Kind::kHex64, {2, 7}},
           {"extended-end", 0x1B, Kind::kHex64, {2, 7}}}};
}

// The six bytes before the status are reserved.
Layout BootStatus() {
  return {32, "boot-status", {{"status", 0x0A, Kind::kHex8}}};
}

Layout Ipmi() {
  return {38,
          "ipmi",
          {{"interface", 0x04, Kind::kHex8},
           {"revision", 0x05, Kind::kHex8},
           {"slave-address", 0x06, Kind::kHex8},
           {"storage-address", 0x07, Kind::kHex8},
           {"base-address", 0x08, Kind::kHex64},
           {"base-modifier", 0x10, Kind::kHex8},
           {"interrupt", 0x11, Kind::kDec8}}};
}

Layout PowerSupply() {
  return {39,
          "power-supply",
          {{"group", 0x04, Kind::kDec8},
           {"location", 0x05, Kind::kString},
           {"name", 0x06, Kind::kString},
           {"manufacturer", 0x07, Kind::kString},
           {"serial", 0x08, Kind::kString},
           {"asset-tag", 0x09, Kind::kString},
           {"part-number", 0x0A, Kind::kString},
           {"revision", 0x0B, Kind::kString},
           {"max-power", 0x0C, Kind::kDec16},
           {"characteristics", 0x0E, Kind::kHex16},
           {"voltage-probe", 0x10, Kind::kHandle},
           {"cooling-device", 0x12, Kind::kHandle},
           {"current-probe", 0x14, Kind::kHandle}}};
}

Layout OnboardDevice() {
  return {41,
          "onboard-device",
          {{"designation", 0x04, Kind::kString},
           {"device-type", 0x05, Kind::kHex8},
           {"instance", 0x06, Kind::kDec8},
           {"segment", 0x07, Kind::kHex16},
           {"bus", 0x09, Kind::kHex8},
           {"device-function", 0x0A, Kind::kHex8}}};
}

Layout End() {
  return {127, "end", {}};
}

Layout FqddMap() {
  return {225,
          "fqdd-map",
          {{"format", 0x04, Kind::kDec8}},
          {"fqdd", 0x05, {Kind::kString, Kind::kHandle, Kind::kHex8}}};
}

Layout DimmExtension() {
  return {226,
          "dimm-extension",
          {{"device", 0x04, Kind::kHandle},
           {"firmware-version", 0x06, Kind::kString},
           {"component-id", 0x07, Kind::kDec32},
           {"product-id", 0x0B, Kind::kHex16}}};
}

}  // namespace

const std::vector<Layout>& Layouts() {
  static const std::vector<Layout> kLayouts = {Bios(),          System(),
                                               Board(),         Chassis(),
                                               Processor(),     Cache(),
                                               PortConnector(), Slot(),
                                               OemStrings(),    ConfigurationOptions(),
                                               Languages(),     GroupAssociations(),
                                               MemoryArray(),   MemoryDevice(),
                                               ArrayAddress(),  DeviceAddress(),
                                               BootStatus(),    Ipmi(),
                                               PowerSupply(),   OnboardDevice(),
                                               End(),           FqddMap(),
                                               DimmExtension()};
  return kLayouts;
}

}  // namespace tvq::table
