/*
 * The words that the SMBIOS standard (DSP0134, version 3.7) has for numbers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/words.h"

#include <algorithm>

#include "host/table/text.h"

namespace tvq::facts {
namespace {

constexpr Word kBoardTypeWords[] = {{0x01, "Unknown"},
                                    {0x02, "Other"},
                                    {0x03, "Server Blade"},
                                    {0x04, "Connectivity Switch"},
                                    {0x05, "System Management Module"},
                                    {0x06, "Processor Module"},
                                    {0x07, "I/O Module"},
                                    {0x08, "Memory Module"},
                                    {0x09, "Daughter Board"},
                                    {0x0A, "Motherboard"},
                                    {0x0B, "Processor/Memory Module"},
                                    {0x0C, "Processor/IO Module"},
                                    {0x0D, "Interconnect Board"}};

constexpr Word kChassisTypeWords[] = {{0x01, "Other"},
                                      {0x02, "Unknown"},
                                      {0x03, "Desktop"},
                                      {0x04, "Low Profile Desktop"},
                                      {0x05, "Pizza Box"},
                                      {0x06, "Mini Tower"},
                                      {0x07, "Tower"},
                                      {0x08, "Portable"},
                                      {0x09, "Laptop"},
                                      {0x0A, "Notebook"},
                                      {0x0B, "Hand Held"},
                                      {0x0C, "Docking Station"},
                                      {0x0D, "All in One"},
                                      {0x0E, "Sub Notebook"},
                                      {0x0F, "Space-saving"},
                                      {0x10, "Lunch Box"},
                                      {0x11, "Main Server Chassis"},
                                      {0x12, "Expansion Chassis"},
                                      {0x13, "SubChassis"},
                                      {0x14, "Bus Expansion Chassis"},
                                      {0x15, "Peripheral Chassis"},
                                      {0x16, "RAID Chassis"},
                                      {0x17, "Rack Mount Chassis"},
                                      {0x18, "Sealed-case PC"},
                                      {0x19, "Multi-system chassis"},
                                      {0x1A, "Compact PCI"},
                                      {0x1B, "Advanced TCA"},
                                      {0x1C, "Blade"},
                                      {0x1D, "Blade Enclosure"},
                                      {0x1E, "Tablet"},
                                      {0x1F, "Convertible"},
                                      {0x20, "Detachable"},
                                      {0x21, "IoT Gateway"},
                                      {0x22, "Embedded PC"},
                                      {0x23, "Mini PC"},
                                      {0x24, "Stick PC"}};

constexpr Word kSlotTypeWords[] = {{0x01, "Other"},
                                   {0x02, "Unknown"},
                                   {0x03, "ISA"},
                                   {0x04, "MCA"},
                                   {0x05, "EISA"},
                                   {0x06, "PCI"},
                                   {0x07, "PC Card (PCMCIA)"},
                                   {0x08, "VL-VESA"},
                                   {0x09, "Proprietary"},
                                   {0x0A, "Processor Card Slot"},
                                   {0x0B, "Proprietary Memory Card Slot"},
                                   {0x0C, "I/O Riser Card Slot"},
                                   {0x0D, "NuBus"},
                                   {0x0E, "PCI-66"},
                                   {0x0F, "AGP"},
                                   {0x10, "AGP 2X"},
                                   {0x11, "AGP 4X"},
                                   {0x12, "PCI-X"},
                                   {0x13, "AGP 8X"},
                                   {0x14, "M.2 Socket 1-DP"},
                                   {0x15, "M.2 Socket 1-SD"},
                                   {0x16, "M.2 Socket 2"},
                                   {0x17, "M.2 Socket 3"},
                                   {0x18, "MXM Type I"},
                                   {0x19, "MXM Type II"},
                                   {0x1A, "MXM Type III (standard)"},
                                   {0x1B, "MXM Type III (HE)"},
                                   {0x1C, "MXM Type IV"},
                                   {0x1D, "MXM 3.0 Type A"},
                                   {0x1E, "MXM 3.0 Type B"},
                                   {0x1F, "PCI Express 2 SFF-8639 (U.2)"},
                                   {0x20, "PCI Express 3 SFF-8639 (U.2)"},
                                   {0x21, "PCI Express Mini 52-pin with keep-outs"},
                                   {0x22, "PCI Express Mini 52-pin without keep-outs"},
                                   {0x23, "PCI Express Mini 76-pin"},
                                   {0x24, "PCI Express 4 SFF-8639 (U.2)"},
                                   {0x25, "PCI Express 5 SFF-8639 (U.2)"},
                                   {0x26, "OCP NIC 3.0 Small Form Factor (SFF)"},
                                   {0x27, "OCP NIC 3.0 Large Form Factor (LFF)"},
                                   {0x28, "OCP NIC prior to 3.0"},
                                   {0x30, "CXL Flexbus 1.0"},
                                   {0xA0, "PC-98/C20"},
                                   {0xA1, "PC-98/C24"},
                                   {0xA2, "PC-98/E"},
                                   {0xA3, "PC-98/Local Bus"},
                                   {0xA4, "PC-98/Card"},
                                   {0xA5, "PCI Express"},
                                   {0xA6, "PCI Express x1"},
                                   {0xA7, "PCI Express x2"},
                                   {0xA8, "PCI Express x4"},
                                   {0xA9, "PCI Express x8"},
                                   {0xAA, "PCI Express x16"},
                                   {0xAB, "PCI Express 2"},
                                   {0xAC, "PCI Express 2 x1"},
                                   {0xAD, "PCI Express 2 x2"},
                                   {0xAE, "PCI Express 2 x4"},
                                   {0xAF, "PCI Express 2 x8"},
                                   {0xB0, "PCI Express 2 x16"},
                                   {0xB1, "PCI Express 3"},
                                   {0xB2, "PCI Express 3 x1"},
                                   {0xB3, "PCI Express 3 x2"},
                                   {0xB4, "PCI Express 3 x4"},
                                   {0xB5, "PCI Express 3 x8"},
                                   {0xB6, "PCI Express 3 x16"},
                                   {0xB8, "PCI Express 4"},
                                   {0xB9, "PCI Express 4 x1"},
                                   {0xBA, "PCI Express 4 x2"},
                                   {0xBB, "PCI Express 4 x4"},
                                   {0xBC, "PCI Express 4 x8"},
                                   {0xBD, "PCI Express 4 x16"},
                                   {0xBE, "PCI Express 5"},
                                   {0xBF, "PCI Express 5 x1"},
                                   {0xC0, "PCI Express 5 x2"},
                                   {0xC1, "PCI Express 5 x4"},
                                   {0xC2, "PCI Express 5 x8"},
                                   {0xC3, "PCI Express 5 x16"},
                                   {0xC4, "PCI Express 6+"},
                                   {0xC5, "EDSFF E1"},
                                   {0xC6, "EDSFF E3"}};

constexpr Word kSlotWidthWords[] = {
    {0x01, "Other"},  {0x02, "Unknown"}, {0x03, "8-bit"}, {0x04, "16-bit"}, {0x05, "32-bit"},
    {0x06, "64-bit"}, {0x07, "128-bit"}, {0x08, "x1"},    {0x09, "x2"},     {0x0A, "x4"},
    {0x0B, "x8"},     {0x0C, "x12"},     {0x0D, "x16"},   {0x0E, "x32"}};

constexpr Word kSlotUsageWords[] = {{0x01, "Other"},
                                    {0x02, "Unknown"},
                                    {0x03, "Available"},
                                    {0x04, "In Use"},
                                    {0x05, "Unavailable"}};

constexpr Word kSlotLengthWords[] = {{0x01, "Other"}, {0x02, "Unknown"},     {0x03, "Short"},
                                     {0x04, "Long"},  {0x05, "2.5\" drive"}, {0x06, "3.5\" drive"}};

constexpr Word kMemoryArrayLocationWords[] = {{0x01, "Other"},
                                              {0x02, "Unknown"},
                                              {0x03, "System board"},
                                              {0x04, "ISA add-on card"},
                                              {0x05, "EISA add-on card"},
                                              {0x06, "PCI add-on card"},
                                              {0x07, "MCA add-on card"},
                                              {0x08, "PCMCIA add-on card"},
                                              {0x09, "Proprietary add-on card"},
                                              {0x0A, "NuBus"},
                                              {0xA0, "PC-98/C20 add-on card"},
                                              {0xA1, "PC-98/C24 add-on card"},
                                              {0xA2, "PC-98/E add-on card"},
                                              {0xA3, "PC-98/Local bus add-on card"},
                                              {0xA4, "CXL add-on card"}};

constexpr Word kMemoryArrayUseWords[] = {{0x01, "Other"},         {0x02, "Unknown"},
                                         {0x03, "System memory"}, {0x04, "Video memory"},
                                         {0x05, "Flash memory"},  {0x06, "Non-volatile RAM"},
                                         {0x07, "Cache memory"}};

constexpr Word kMemoryErrorCorrectionWords[] = {
    {0x01, "Other"},          {0x02, "Unknown"},       {0x03, "None"}, {0x04, "Parity"},
    {0x05, "Single-bit ECC"}, {0x06, "Multi-bit ECC"}, {0x07, "CRC"}};

constexpr Word kMemoryFormFactorWords[] = {
    {0x01, "Other"},  {0x02, "Unknown"}, {0x03, "SIMM"},         {0x04, "SIP"},
    {0x05, "Chip"},   {0x06, "DIP"},     {0x07, "ZIP"},          {0x08, "Proprietary Card"},
    {0x09, "DIMM"},   {0x0A, "TSOP"},    {0x0B, "Row of chips"}, {0x0C, "RIMM"},
    {0x0D, "SODIMM"}, {0x0E, "SRIMM"},   {0x0F, "FB-DIMM"},      {0x10, "Die"},
    {0x11, "CAMM"}};

constexpr Word kMemoryTypeWords[] = {
    {0x01, "Other"},  {0x02, "Unknown"}, {0x03, "DRAM"},   {0x04, "EDRAM"},
    {0x05, "VRAM"},   {0x06, "SRAM"},    {0x07, "RAM"},    {0x08, "ROM"},
    {0x09, "FLASH"},  {0x0A, "EEPROM"},  {0x0B, "FEPROM"}, {0x0C, "EPROM"},
    {0x0D, "CDRAM"},  {0x0E, "3DRAM"},   {0x0F, "SDRAM"},  {0x10, "SGRAM"},
    {0x11, "RDRAM"},  {0x12, "DDR"},     {0x13, "DDR2"},   {0x14, "DDR2 FB-DIMM"},
    {0x18, "DDR3"},   {0x19, "FBD2"},    {0x1A, "DDR4"},   {0x1B, "LPDDR"},
    {0x1C, "LPDDR2"}, {0x1D, "LPDDR3"},  {0x1E, "LPDDR4"}, {0x1F, "Logical non-volatile device"},
    {0x20, "HBM"},    {0x21, "HBM2"},    {0x22, "DDR5"},   {0x23, "LPDDR5"},
    {0x24, "HBM3"}};

constexpr Word kMemoryTechnologyWords[] = {{0x01, "Other"},
                                           {0x02, "Unknown"},
                                           {0x03, "DRAM"},
                                           {0x04, "NVDIMM-N"},
                                           {0x05, "NVDIMM-F"},
                                           {0x06, "NVDIMM-P"},
                                           {0x07, "Intel Optane persistent memory"}};

constexpr Word kOnboardDeviceTypeWords[] = {{0x01, "Other"},
                                            {0x02, "Unknown"},
                                            {0x03, "Video"},
                                            {0x04, "SCSI Controller"},
                                            {0x05, "Ethernet"},
                                            {0x06, "Token Ring"},
                                            {0x07, "Sound"},
                                            {0x08, "PATA Controller"},
                                            {0x09, "SATA Controller"},
                                            {0x0A, "SAS Controller"},
                                            {0x0B, "Wireless LAN"},
                                            {0x0C, "Bluetooth"},
                                            {0x0D, "WWAN"},
                                            {0x0E, "eMMC"},
                                            {0x0F, "NVMe Controller"},
                                            {0x10, "UFS Controller"}};

}  // namespace

const Words kBoardTypes = kBoardTypeWords;
const Words kChassisTypes = kChassisTypeWords;
const Words kSlotTypes = kSlotTypeWords;
const Words kSlotWidths = kSlotWidthWords;
const Words kSlotUsages = kSlotUsageWords;
const Words kSlotLengths = kSlotLengthWords;
const Words kMemoryArrayLocations = kMemoryArrayLocationWords;
const Words kMemoryArrayUses = kMemoryArrayUseWords;
const Words kMemoryErrorCorrections = kMemoryErrorCorrectionWords;
const Words kMemoryFormFactors = kMemoryFormFactorWords;
const Words kMemoryTypes = kMemoryTypeWords;
const Words kMemoryTechnologies = kMemoryTechnologyWords;
const Words kOnboardDeviceTypes = kOnboardDeviceTypeWords;

std::string Words::Of(std::uint8_t value) const {
  const Word* const end = mWords + mCount;
  const Word* const found =
      std::find_if(mWords, end, [value](const Word& word) { return word.value == value; });
  return found == end ? table::HexNumber(value, 2) : found->text;
}

}  // namespace tvq::facts
