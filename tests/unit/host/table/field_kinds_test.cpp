/*
 * The types with named fields: what kind of value each field holds, and from which version of the standard on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/layout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "host/table/structure.h"
#include "host/table/text.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

using Kind = FieldKind;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

struct ExpectedField {
  std::string_view name;
  Kind kind;
  Version since;

  bool operator==(const ExpectedField& other) const {
    return name == other.name && kind == other.kind && since <= other.since && other.since <= since;
  }
};

struct ExpectedLayout {
  int type;
  std::string_view name;
  std::vector<ExpectedField> fields;
};

const ExpectedLayout kExpected[] = {
    {0,
     "bios",
     {
         {"vendor", Kind::kString, {2, 0}},
         {"version", Kind::kString, {2, 0}},
         {"segment", Kind::kHex16, {2, 0}},
         {"release-date", Kind::kString, {2, 0}},
         {"rom-size", Kind::kHex8, {2, 0}},
         {"characteristics", Kind::kHex64, {2, 0}},
         {"extension1", Kind::kHex8, {2, 1}},
         {"extension2", Kind::kHex8, {2, 3}},
         {"major-release", Kind::kDec8, {2, 4}},
         {"minor-release", Kind::kDec8, {2, 4}},
         {"controller-major-release", Kind::kDec8, {2, 4}},
         {"controller-minor-release", Kind::kDec8, {2, 4}},
         {"extended-rom-size", Kind::kHex16, {3, 1}},
     }},
    {1,
     "system",
     {
         {"manufacturer", Kind::kString, {2, 0}},
         {"product", Kind::kString, {2, 0}},
         {"version", Kind::kString, {2, 0}},
         {"serial", Kind::kString, {2, 0}},
         {"uuid", Kind::kUuid, {2, 1}},
         {"wake-up", Kind::kHex8, {2, 1}},
         {"sku", Kind::kString, {2, 4}},
         {"family", Kind::kString, {2, 4}},
     }},
    {2,
     "board",
     {
         {"manufacturer", Kind::kString, {2, 0}},
         {"product", Kind::kString, {2, 0}},
         {"version", Kind::kString, {2, 0}},
         {"serial", Kind::kString, {2, 0}},
         {"asset-tag", Kind::kString, {2, 0}},
         {"features", Kind::kHex8, {2, 0}},
         {"location", Kind::kString, {2, 0}},
         {"chassis", Kind::kHandle, {2, 0}},
         {"board-type", Kind::kHex8, {2, 0}},
         {"contained-count", Kind::kGroupCount, {2, 0}},
     }},
    {3,
     "chassis",
     {
         {"manufacturer", Kind::kString, {2, 0}},
         {"chassis-type", Kind::kHex8, {2, 0}},
         {"version", Kind::kString, {2, 0}},
         {"serial", Kind::kString, {2, 0}},
         {"asset-tag", Kind::kString, {2, 0}},
         {"boot-up-state", Kind::kHex8, {2, 1}},
         {"power-supply-state", Kind::kHex8, {2, 1}},
         {"thermal-state", Kind::kHex8, {2, 1}},
         {"security-status", Kind::kHex8, {2, 1}},
         {"oem", Kind::kHex32, {2, 3}},
         {"height", Kind::kDec8, {2, 3}},
         {"power-cords", Kind::kDec8, {2, 3}},
         {"element-count", Kind::kDec8, {2, 3}},
         {"element-size", Kind::kDec8, {2, 3}},
         {"sku", Kind::kString, {2, 7}},
     }},
    {4,
     "processor",
     {
         {"socket", Kind::kString, {2, 0}},
         {"processor-type", Kind::kHex8, {2, 0}},
         {"family", Kind::kHex8, {2, 0}},
         {"manufacturer", Kind::kString, {2, 0}},
         {"id", Kind::kHex64, {2, 0}},
         {"version", Kind::kString, {2, 0}},
         {"voltage", Kind::kHex8, {2, 0}},
         {"external-clock", Kind::kDec16, {2, 0}},
         {"max-speed", Kind::kDec16, {2, 0}},
         {"current-speed", Kind::kDec16, {2, 0}},
         {"status", Kind::kHex8, {2, 0}},
         {"upgrade", Kind::kHex8, {2, 0}},
         {"l1-cache", Kind::kHandle, {2, 1}},
         {"l2-cache", Kind::kHandle, {2, 1}},
         {"l3-cache", Kind::kHandle, {2, 1}},
         {"serial", Kind::kString, {2, 3}},
         {"asset-tag", Kind::kString, {2, 3}},
         {"part-number", Kind::kString, {2, 3}},
         {"core-count", Kind::kDec8, {2, 5}},
         {"core-enabled", Kind::kDec8, {2, 5}},
         {"thread-count", Kind::kDec8, {2, 5}},
         {"characteristics", Kind::kHex16, {2, 5}},
         {"family2", Kind::kHex16, {2, 6}},
         {"core-count2", Kind::kDec16, {3, 0}},
         {"core-enabled2", Kind::kDec16, {3, 0}},
         {"thread-count2", Kind::kDec16, {3, 0}},
         {"thread-enabled", Kind::kDec16, {3, 6}},
     }},
    {7,
     "cache",
     {
         {"socket", Kind::kString, {2, 0}},
         {"configuration", Kind::kHex16, {2, 0}},
         {"maximum-size", Kind::kHex16, {2, 0}},
         {"installed-size", Kind::kHex16, {2, 0}},
         {"supported-sram", Kind::kHex16, {2, 0}},
         {"current-sram", Kind::kHex16, {2, 0}},
         {"speed", Kind::kDec8, {2, 1}},
         {"error-correction", Kind::kHex8, {2, 1}},
         {"system-cache-type", Kind::kHex8, {2, 1}},
         {"associativity", Kind::kHex8, {2, 1}},
         {"maximum-size2", Kind::kHex32, {3, 1}},
         {"installed-size2", Kind::kHex32, {3, 1}},
     }},
    {8,
     "port-connector",
     {
         {"internal", Kind::kString, {2, 0}},
         {"internal-type", Kind::kHex8, {2, 0}},
         {"external", Kind::kString, {2, 0}},
         {"external-type", Kind::kHex8, {2, 0}},
         {"port-type", Kind::kHex8, {2, 0}},
     }},
    {9,
     "slot",
     {
         {"designation", Kind::kString, {2, 0}},
         {"slot-type", Kind::kHex8, {2, 0}},
         {"data-bus-width", Kind::kHex8, {2, 0}},
         {"usage", Kind::kHex8, {2, 0}},
         {"slot-length", Kind::kHex8, {2, 0}},
         {"id", Kind::kDec16, {2, 0}},
         {"characteristics1", Kind::kHex8, {2, 0}},
         {"characteristics2", Kind::kHex8, {2, 1}},
         {"segment", Kind::kHex16, {2, 6}},
         {"bus", Kind::kHex8, {2, 6}},
         {"device-function", Kind::kHex8, {2, 6}},
         {"base-width", Kind::kHex8, {3, 2}},
         {"peer-count", Kind::kDec8, {3, 2}},
         {"slot-information", Kind::kHex8, {3, 4}},
         {"physical-width", Kind::kHex8, {3, 4}},
         {"pitch", Kind::kDec16, {3, 4}},
         {"height", Kind::kHex8, {3, 5}},
     }},
    {11,
     "oem-strings",
     {
         {"count", Kind::kStringCount, {2, 0}},
     }},
    {12,
     "configuration-options",
     {
         {"count", Kind::kStringCount, {2, 0}},
     }},
    {13,
     "languages",
     {
         {"count", Kind::kStringCount, {2, 0}},
         {"flags", Kind::kHex8, {2, 0}},
         {"current", Kind::kString, {2, 0}},
     }},
    {14,
     "group-associations",
     {
         {"name", Kind::kString, {2, 0}},
     }},
    {16,
     "memory-array",
     {
         {"location", Kind::kHex8, {2, 0}},
         {"use", Kind::kHex8, {2, 0}},
         {"error-correction", Kind::kHex8, {2, 0}},
         {"maximum-capacity", Kind::kHex32, {2, 0}},
         {"error-handle", Kind::kHandle, {2, 0}},
         {"device-count", Kind::kDec16, {2, 0}},
         {"extended-maximum-capacity", Kind::kHex64, {2, 7}},
     }},
    {17,
     "memory-device",
     {
         {"array", Kind::kHandle, {2, 0}},
         {"error-handle", Kind::kHandle, {2, 0}},
         {"total-width", Kind::kDec16, {2, 0}},
         {"data-width", Kind::kDec16, {2, 0}},
         {"size", Kind::kDec16, {2, 0}},
         {"form-factor", Kind::kHex8, {2, 0}},
         {"device-set", Kind::kDec8, {2, 0}},
         {"locator", Kind::kString, {2, 0}},
         {"bank", Kind::kString, {2, 0}},
         {"memory-type", Kind::kHex8, {2, 0}},
         {"type-detail", Kind::kHex16, {2, 0}},
         {"speed", Kind::kDec16, {2, 3}},
         {"manufacturer", Kind::kString, {2, 3}},
         {"serial", Kind::kString, {2, 3}},
         {"asset-tag", Kind::kString, {2, 3}},
         {"part-number", Kind::kString, {2, 3}},
         {"attributes", Kind::kHex8, {2, 6}},
         {"extended-size", Kind::kDec32, {2, 7}},
         {"configured-speed", Kind::kDec16, {2, 7}},
         {"minimum-voltage", Kind::kDec16, {2, 8}},
         {"maximum-voltage", Kind::kDec16, {2, 8}},
         {"configured-voltage", Kind::kDec16, {2, 8}},
         {"technology", Kind::kHex8, {3, 2}},
         {"operating-modes", Kind::kHex16, {3, 2}},
         {"firmware-version", Kind::kString, {3, 2}},
         {"module-manufacturer-id", Kind::kHex16, {3, 2}},
         {"module-product-id", Kind::kHex16, {3, 2}},
         {"controller-manufacturer-id", Kind::kHex16, {3, 2}},
         {"controller-product-id", Kind::kHex16, {3, 2}},
         {"non-volatile-size", Kind::kHex64, {3, 2}},
         {"volatile-size", Kind::kHex64, {3, 2}},
         {"cache-size", Kind::kHex64, {3, 2}},
         {"logical-size", Kind::kHex64, {3, 2}},
         {"extended-speed", Kind::kDec32, {3, 3}},
         {"extended-configured-speed", Kind::kDec32, {3, 3}},
         {"pmic-manufacturer-id", Kind::kHex16, {3, 7}},
         {"pmic-revision", Kind::kHex16, {3, 7}},
         {"rcd-manufacturer-id", Kind::kHex16, {3, 7}},
         {"rcd-revision", Kind::kHex16, {3, 7}},
     }},
    {19,
     "memory-array-address",
     {
         {"start", Kind::kHex32, {2, 0}},
         {"end", Kind::kHex32, {2, 0}},
         {"array", Kind::kHandle, {2, 0}},
         {"partition-width", Kind::kDec8, {2, 0}},
         {"extended-start", Kind::kHex64, {2, 7}},
         {"extended-end", Kind::kHex64, {2, 7}},
     }},
    {20,
     "memory-device-address",
     {
         {"start", Kind::kHex32, {2, 0}},
         {"end", Kind::kHex32, {2, 0}},
         {"device", Kind::kHandle, {2, 0}},
         {"array-address", Kind::kHandle, {2, 0}},
         {"partition-row", Kind::kHex8, {2, 0}},
         {"interleave-position", Kind::kHex8, {2, 0}},
         {"interleave-depth", Kind::kHex8, {2, 0}},
         {"extended-start", Kind::kHex64, {2, 7}},
         {"extended-end", Kind::kHex64, {2, 7}},
     }},
    {32,
     "boot-status",
     {
         {"status", Kind::kHex8, {2, 0}},
     }},
    {38,
     "ipmi",
     {
         {"interface", Kind::kHex8, {2, 0}},
         {"revision", Kind::kHex8, {2, 0}},
         {"slave-address", Kind::kHex8, {2, 0}},
         {"storage-address", Kind::kHex8, {2, 0}},
         {"base-address", Kind::kHex64, {2, 0}},
         {"base-modifier", Kind::kHex8, {2, 0}},
         {"interrupt", Kind::kDec8, {2, 0}},
     }},
    {39,
     "power-supply",
     {
         {"group", Kind::kDec8, {2, 0}},
         {"location", Kind::kString, {2, 0}},
         {"name", Kind::kString, {2, 0}},
         {"manufacturer", Kind::kString, {2, 0}},
         {"serial", Kind::kString, {2, 0}},
         {"asset-tag", Kind::kString, {2, 0}},
         {"part-number", Kind::kString, {2, 0}},
         {"revision", Kind::kString, {2, 0}},
         {"max-power", Kind::kDec16, {2, 0}},
         {"characteristics", Kind::kHex16, {2, 0}},
         {"voltage-probe", Kind::kHandle, {2, 0}},
         {"cooling-device", Kind::kHandle, {2, 0}},
         {"current-probe", Kind::kHandle, {2, 0}},
     }},
    {41,
     "onboard-device",
     {
         {"designation", Kind::kString, {2, 0}},
         {"device-type", Kind::kHex8, {2, 0}},
         {"instance", Kind::kDec8, {2, 0}},
         {"segment", Kind::kHex16, {2, 0}},
         {"bus", Kind::kHex8, {2, 0}},
         {"device-function", Kind::kHex8, {2, 0}},
     }},
    {127, "end", {}},
    {225,
     "fqdd-map",
     {
         {"format", Kind::kDec8, {2, 0}},
     }},
    {226,
     "dimm-extension",
     {
         {"device", Kind::kHandle, {2, 0}},
         {"firmware-version", Kind::kString, {2, 0}},
         {"component-id", Kind::kDec32, {2, 0}},
         {"product-id", Kind::kHex16, {2, 0}},
     }},
};

std::ostream& operator<<(std::ostream& out, const ExpectedField& field) {
  return out << field.name << ", kind " << static_cast<int>(field.kind) << ", since "
             << int{field.since.majorNumber} << '.' << int{field.since.minorNumber};
}

TEST(Layouts, HaveTheFieldsOfTheStandard) {
  ASSERT_EQ(Layouts().size(), std::size(kExpected));
  for (std::size_t i = 0; i < Layouts().size(); ++i) {
    const Layout& layout = Layouts()[i];
    EXPECT_EQ(layout.type, kExpected[i].type);
    EXPECT_EQ(layout.name, kExpected[i].name);
    std::vector<ExpectedField> fields;
    for (const Field& field : layout.fields) {
      fields.push_back({field.name, field.kind, field.since});
    }
    EXPECT_EQ(fields, kExpected[i].fields) << layout.name;
  }
}

TEST(Layouts, HaveGroupsOfTheseKinds) {
  for (const Layout& layout : Layouts()) {
    switch (layout.type) {
      case 2:
        EXPECT_EQ(layout.group.name, "contains");
        EXPECT_THAT(layout.group.parts, ElementsAre(Kind::kHandle));
        break;
      case 14:
        EXPECT_EQ(layout.group.name, "item");
        EXPECT_THAT(layout.group.parts, ElementsAre(Kind::kDec8, Kind::kHandle));
        break;
      case 225:
        EXPECT_EQ(layout.group.name, "fqdd");
        EXPECT_THAT(layout.group.parts, ElementsAre(Kind::kString, Kind::kHandle, Kind::kHex8));
        break;
      default:
        EXPECT_THAT(layout.group.parts, IsEmpty()) << layout.name;
        EXPECT_EQ(layout.group.Width(), 0u);
    }
  }
}

// What stands behind a table of its own keeps its place only while that table is empty.
TEST(Layouts, HaveNothingThatMovesButBehindTwoTables) {
  for (const Layout& layout : Layouts()) {
    EXPECT_EQ(layout.tail.countOffset != 0, layout.type == 3 || layout.type == 9) << layout.name;
  }
}

class MovingFields : public testing::Test {
 protected:
  // Whether the field moves in a slot with this many peers and of this size.
  static bool Moves(std::string_view field, std::uint8_t peers, std::size_t size) {
    std::vector<std::uint8_t> body(size, 0);
    if (size > 0x12) {
      body[0x12] = peers;
    }
    const Layout& slot = LayoutOf(9);
    return slot.IsMoved(*slot.Find(field), {body.data(), body.size()});
  }
};

TEST_F(MovingFields, AreThoseBehindACountThatIsNotZero) {
  EXPECT_FALSE(Moves("slot-information", 0, 0x18));
  EXPECT_TRUE(Moves("slot-information", 1, 0x18));
  EXPECT_TRUE(Moves("height", 1, 0x18));
  EXPECT_FALSE(Moves("peer-count", 1, 0x18));
  EXPECT_TRUE(Moves("slot-information", 1, 0x13)) << "the count is the last byte";
  EXPECT_FALSE(Moves("slot-information", 1, 0x12)) << "there is no count";
}

// The sizes of the standard, version by version.
TEST(Layouts, GiveStructuresTheSizeOfTheirVersion) {
  const struct {
    const char* name;
    std::vector<std::pair<Version, std::size_t>> sizes;
  } kSizes[] = {
      {"bios", {{{2, 0}, 0x12}, {{2, 3}, 0x14}, {{2, 4}, 0x18}, {{3, 0}, 0x18}, {{3, 1}, 0x1A}}},
      {"system", {{{2, 0}, 0x08}, {{2, 1}, 0x19}, {{2, 3}, 0x19}, {{2, 4}, 0x1B}}},
      {"processor",
       {{{2, 0}, 0x1A},
        {{2, 1}, 0x20},
        {{2, 3}, 0x23},
        {{2, 5}, 0x28},
        {{2, 6}, 0x2A},
        {{2, 8}, 0x2A},
        {{3, 0}, 0x30},
        {{3, 6}, 0x32}}},
      {"memory-device",
       {{{2, 1}, 0x15},
        {{2, 3}, 0x1B},
        {{2, 6}, 0x1C},
        {{2, 7}, 0x22},
        {{2, 8}, 0x28},
        {{3, 2}, 0x54},
        {{3, 3}, 0x5C},
        {{3, 7}, 0x64}}},
      {"end", {{{2, 0}, 0x04}, {{3, 9}, 0x04}}},
  };
  for (const auto& [name, sizes] : kSizes) {
    for (const auto& [version, size] : sizes) {
      EXPECT_EQ(FindLayout(name)->StandardSize(version), size)
          << name << " of " << int{version.majorNumber} << "." << int{version.minorNumber};
    }
  }
}

// "name at 04h" for each value of a structure that has a name.
std::vector<std::string> NamesIn(const std::vector<std::uint8_t>& bytes) {
  std::vector<std::string> names;
  for (const Structure& structure : SplitTable(bytes)) {
    for (const NamedValue& value : NamedValues(structure)) {
      names.push_back(std::string(value.name) + " at " + HexNumber(value.offset, 2));
    }
  }
  return names;
}

TEST(NamedValues, AreTheFieldsThatTheStructureIsLongEnoughFor) {
  EXPECT_THAT(NamesIn(FromHex("08 08 00 00 00 00 00 00 00 00")),
              ElementsAre("internal at 0x04", "internal-type at 0x05", "external at 0x06",
                          "external-type at 0x07"));
  EXPECT_THAT(NamesIn(FromHex("10 06 00 00 00 00 00 00")),
              ElementsAre("location at 0x04", "use at 0x05"));
  EXPECT_THAT(NamesIn(FromHex("0B 04 00 00 00 00")), IsEmpty());
}

TEST(NamedValues, AreTheWholeGroupsBehindTheFields) {
  EXPECT_THAT(NamesIn(FromHex("E1 09 00 00 01 00 00 00 00 00 00")),
              ElementsAre("format at 0x04", "fqdd at 0x05", "fqdd at 0x06", "fqdd at 0x08"));
  EXPECT_THAT(NamesIn(FromHex("E1 08 00 00 01 00 00 00 00 00")), ElementsAre("format at 0x04"));
}

TEST(NamedValues, AreNotFieldsThatHaveMoved) {
  std::vector<std::uint8_t> slot(0x18 + 2);
  slot[0] = 9;
  slot[1] = 0x18;
  EXPECT_THAT(NamesIn(slot), Contains("height at 0x17"));
  slot[0x12] = 1;
  EXPECT_THAT(NamesIn(slot), Not(Contains("height at 0x17")));
  EXPECT_THAT(NamesIn(slot), Contains("peer-count at 0x12"));
}

TEST(Layouts, AreFoundByTypeAndName) {
  EXPECT_EQ(LayoutOf(17).name, "memory-device");
  EXPECT_EQ(FindLayout("memory-device"), &LayoutOf(17));
  EXPECT_EQ(FindLayout("memory"), nullptr);
  EXPECT_EQ(LayoutOf(17).Find("serial")->offset, 0x18);
  EXPECT_EQ(LayoutOf(17).Find("Serial"), nullptr);
  for (const int type : {5, 126, 128, 255}) {
    EXPECT_EQ(LayoutOf(static_cast<std::uint8_t>(type)).type, type);
    EXPECT_EQ(LayoutOf(static_cast<std::uint8_t>(type)).name, "");
  }
}

TEST(Layouts, NameATypeByItsBlockOrItsNumber) {
  EXPECT_EQ(TitleOf(0), "bios");
  EXPECT_EQ(TitleOf(128), "type 128");
}

}  // namespace
}  // namespace tvq::table
