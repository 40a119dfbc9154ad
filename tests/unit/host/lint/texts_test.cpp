/*
 * What findings say: the details that tell a reader what will happen.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/lint/lint_fixture.h"

namespace tvq::lint {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A second module, with these fields.
std::string Module(const std::string& fields) {
  return SoundWith("[memory-device like @dimm1]\nlocator = \"A2\"\n" + fields);
}

TEST(LintTexts, AClashNamesTheOtherDeviceAndCountsWhatIsLost) {
  const std::string module = "[memory-device like @dimm1]\nlocator = \"A1\"\n";
  EXPECT_THAT(LinesAbout(SoundWith(module + "serial = \"2\"\n" + module + "serial = \"3\"\n")),
              ElementsAre(HasSubstr("locator \"A1\" gives \"A1\", as \"A1\" of handle 0x0007 does: "
                                    "the driver builds no more modules: this one gets no record, "
                                    "nor does the one behind it")));
}

TEST(LintTexts, ASocketNameIsCutAsTheDriverCutsIt) {
  EXPECT_THAT(LinesAbout(SoundWith("[processor like @cpu1]\nsocket = \"CPU #1\"\n")),
              ElementsAre(HasSubstr("the driver takes it for socket 240 and names it \"CPU 24\"")));
}

TEST(LintTexts, AShortSocketDesignationIsReadOn) {
  EXPECT_THAT(LinesAbout(SoundWith("[processor like @cpu1]\nsocket = \"FP5\"\n")),
              ElementsAre(HasSubstr("\"FP5\" is shorter than four characters, so that the byte "
                                    "behind counts: the driver takes it for socket 208")));
}

TEST(LintTexts, AMissingStringNamesWhatComesFromTheStructureBehind) {
  EXPECT_THAT(LinesAbout(Module("serial = \"2\"\nbank = 9\n")),
              ElementsAre(HasSubstr("bank is string 9, and the structure has 4 strings: the record "
                                    "mixes two structures, as what "
                                    "is read next (asset-tag, size, speed, memory-type, "
                                    "part-number, handle, widths, form-factor and what follows) "
                                    "comes from the one behind")));
}

TEST(LintTexts, TheFirstStringOfAStructureWithoutStringsIsEmptyForTheDriver) {
  EXPECT_THAT(LinesAbout(SoundWith("[slot]\ndesignation = 1\n")), IsEmpty());
  EXPECT_THAT(LinesAbout(SoundWith("[slot]\ndesignation = 1\n"), kTable),
              ElementsAre(HasSubstr("designation is string 1, and the structure has 0 strings")));
}

TEST(LintTexts, PlaceholdersAreKnownInTheFormsThatFirmwareWrites) {
  for (const std::string placeholder :
       {"   ", "Unknown", "UNKNOWN", "N/A", "Not Specified", "NO DIMM", "00000000", "FFFFFFFF",
        "SerNum03", "Array1_PartNumber0", "ModulePartNumber00", "Default string", "[Empty]",
        "To Be Filled By O.E.M.", "0123456789"}) {
    EXPECT_THAT(LinesAbout(Module("serial = \"" + placeholder + "\"\n")),
                ElementsAre(HasSubstr("[serial-placeholder]")))
        << placeholder;
  }
  for (const std::string serial : {"0", "160412A2", "SN0042", "NANYA1", "00000001"}) {
    EXPECT_THAT(LinesAbout(Module("serial = \"" + serial + "\"\n")), IsEmpty()) << serial;
  }
}

TEST(LintTexts, SerialNumbersAreAlikeBecauseTheyAreCut) {
  const auto findings = ExamineDump(
      Dump(SoundWith(
          "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"AAAABBBBCCCCDD1\"\n"
          "[memory-device like @dimm1]\nlocator = \"A3\"\nserial = \"AAAABBBBCCCCDD2\"\n")),
      Selection(kDriver));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule->name, "serial-long");
  ASSERT_EQ(findings[0].consequences.size(), 1u);
  EXPECT_THAT(findings[0].consequences[0].message,
              HasSubstr("and that of handle 0x000B are alike"));
}

TEST(LintTexts, MakersNumberTheirModulesEachForThemselves) {
  EXPECT_THAT(LinesAbout(Module("")), ElementsAre(HasSubstr("[serial-repeated]")));
  EXPECT_THAT(LinesAbout(Module("manufacturer = \"Another\"\n")),
              ElementsAre(HasSubstr("[serial-alike]")));
  EXPECT_THAT(LinesAbout(Module("serial = \"7A2C0002\"\n")), IsEmpty());
}

TEST(LintTexts, APpinSaysWhyItIsNotRead) {
  const std::string ppin = "string = \"17[0123456789ABCDEF]\"\n";
  const std::string first = "string = \"TVQ reference platform\"\n";
  const std::string second = "[processor like @cpu1]\nsocket = \"CPU2\"\n";
  EXPECT_THAT(LinesAbout(SoundWith("[oem-strings]\n" + ppin)),
              ElementsAre(HasSubstr("it begins at byte 5 of the structure, and the search at byte "
                                    "25. Each processor takes the next one that is found, so 0 of "
                                    "1 get one")));
  EXPECT_THAT(LinesAbout(SoundWith("[oem-strings]\n" + first + ppin)), IsEmpty());
  EXPECT_THAT(LinesAbout(SoundWith("[oem-strings]\n" + first + "[oem-strings]\n" + ppin)),
              ElementsAre(HasSubstr("only the first structure of OEM strings is searched")));
  EXPECT_THAT(LinesAbout(SoundWith(second + "[oem-strings]\n" + first + ppin +
                                   "string = \"other\"\n" + "string = \"17[FEDCBA9876543210]\"\n")),
              ElementsAre(AllOf(HasSubstr("the string in front of it has none"),
                                HasSubstr("1 of 2 get one"))));
  EXPECT_THAT(LinesAbout(SoundWith("[oem-strings]\nstring = \"twenty characters...\"\n" + ppin)),
              ElementsAre(HasSubstr("a string ends at byte 25, where the search begins")));
}

TEST(LintTexts, AnExtensionOfAnEmptySlotIsNoOnes) {
  EXPECT_THAT(LinesAbout(SoundWith("[memory-device @empty like @dimm1]\nsize = 0\n"
                                   "[dimm-extension]\ndevice = @empty\n"
                                   "firmware-version = \"1.0\"\n")),
              ElementsAre(HasSubstr("handle 0x000B is that of a memory device without a record")));
}

TEST(LintTexts, HandleFFFFIsSeenOnlyInFront) {
  EXPECT_THAT(LinesAbout("version = 3.3\n[bios 0xFFFF]\n[system 1]\nproduct = \"Node\"\n"
                         "[fqdd-map]\nformat = 1\n[end]\n"),
              ElementsAre(HasSubstr("nothing can refer to this one")));
  EXPECT_THAT(LinesAbout("version = 3.3\n[bios 0]\n[system 0xFFFF]\nproduct = \"Node\"\n"
                         "[fqdd-map 2]\nformat = 1\n[end]\n"),
              Contains(HasSubstr("does not come to this one and 2 behind it")));
}

TEST(LintTexts, TextsAreReadAsTheDocumentHasThem) {
  // The second word of a part number is not in the document, nor what lies behind a limit.
  EXPECT_THAT(LinesAbout(Module("serial = \"2\"\npart-number = \"ABC <R&D>\"\n")),
              ElementsAre(HasSubstr("[part-blank]")));
  EXPECT_THAT(LinesAbout(Module("serial = \"0123456789ABC\\xC3\\xA9\"\n")),
              Contains(HasSubstr("is not UTF-8 any more, as a character is cut in two")));
}

TEST(LintTexts, AModuleMayRunAsFastAsItIsMadeFor) {
  const auto speeds = [](const std::string& rated, const std::string& configured) {
    return LinesAbout(Module("serial = \"2\"\narray = 0xFFFF\nspeed = " + rated +
                             "\nconfigured-speed = " + configured + "\n"),
                      kTable);
  };
  EXPECT_THAT(speeds("2666", "2666"), IsEmpty());
  EXPECT_THAT(speeds("2666", "2667"),
              ElementsAre(HasSubstr("the module runs at 2667 MT/s, and is made for 2666")));
  EXPECT_THAT(speeds("0", "2667"), IsEmpty());  // not known
  const std::string fast = "0xFFFF\nextended-speed = 70000\nextended-configured-speed = ";
  EXPECT_THAT(speeds(fast + "70000", "0xFFFF"), IsEmpty());
  EXPECT_THAT(speeds(fast + "70001", "0xFFFF"), ElementsAre(HasSubstr("at 70001 MT/s")));
}

// A slot beside one at 0000:17:00.0.
std::vector<std::string> AboutSlotAt(const std::string& segment, const std::string& bus,
                                     const std::string& device, const std::string& more = "") {
  return LinesAbout(
      SoundWith("[slot like @slot1]\nid = 2\nsegment = 0\nbus = 0x17\n"
                "device-function = 0\n[slot like @slot1]\nid = 3\nsegment = " +
                segment + "\nbus = " + bus + "\ndevice-function = " + device + "\n" + more));
}

TEST(LintTexts, SlotsAreToldApartByTheirWholeAddress) {
  EXPECT_THAT(
      AboutSlotAt("0", "0x17", "0"),
      ElementsAre(AllOf(HasSubstr("is at 0000:17:00.0, as slot \"Slot 1\" of handle 0x000B"),
                        HasSubstr("[slot-address]"))));
  EXPECT_THAT(AboutSlotAt("0", "0x17", "1"), IsEmpty());
  EXPECT_THAT(AboutSlotAt("0", "0x18", "0"), IsEmpty());
  EXPECT_THAT(AboutSlotAt("1", "0x17", "0"), IsEmpty());
  const std::string slot =
      "[slot like @slot1]\nid = 2\nsegment = 0x1234\nbus = 0xAB\ndevice-function = 0xFD\n";
  EXPECT_THAT(LinesAbout(SoundWith(slot + slot)),
              ElementsAre(HasSubstr("is at 1234:ab:1f.5, as slot \"Slot 1\" of")));
}

TEST(LintTexts, SlotsWithoutAnAddressAreNotAtOne) {
  const std::string without = "[slot like @slot1]\nid = 4\n";
  const auto twice = [&](const std::string& address) {
    return LinesAbout(SoundWith(without + address + without + address));
  };
  EXPECT_THAT(twice("segment = 0xFFFF\nbus = 1\ndevice-function = 0\n"), IsEmpty());
  EXPECT_THAT(twice("segment = 0\nbus = 0xFF\ndevice-function = 0\n"), IsEmpty());
  EXPECT_THAT(twice("segment = 0\nbus = 1\ndevice-function = 0xFF\n"), IsEmpty());
  EXPECT_THAT(LinesAbout(SoundWith("[slot]\nlength = 0x0D\n[slot]\nlength = 0x0D\n")), IsEmpty());
}

std::vector<std::string> AboutSystem(const std::string& fields) {
  return LinesAbout("version = 3.3\n[bios]\n[system]\nproduct = \"Node\"\n" + fields +
                    "[fqdd-map]\nformat = 1\n[end]\n");
}

TEST(LintTexts, ASystemMayHaveNoSerialNumberAndNoPlaceholder) {
  EXPECT_THAT(AboutSystem(""), IsEmpty());
  EXPECT_THAT(AboutSystem("serial = \"7A2C001\"\n"), IsEmpty());
  for (const std::string serial :
       {"Default string", "System Serial Number", "   ", "0123456789", "To be filled by O.E.M."}) {
    EXPECT_THAT(AboutSystem("serial = \"" + serial + "\"\n"),
                ElementsAre(HasSubstr("[system-serial]")))
        << serial;
  }
}

TEST(LintTexts, AUuidMayBeMissingButNotMadeUp) {
  for (const std::string uuid :
       {"00000000-0000-0000-0000-000000000000", "ffffffff-ffff-ffff-ffff-ffffffffffff",
        "7d3f2a10-5b64-4c8e-9a21-0c5e1f2b3a41", "03000200-0400-0500-0006-00070008000a",
        "00010203-0405-0607-0809-0a0b0c0d0e10", "11111111-1111-1111-1111-111111111112"}) {
    EXPECT_THAT(AboutSystem("uuid = " + uuid + "\n"), IsEmpty()) << uuid;
  }
  for (const std::string uuid :
       {"03000200-0400-0500-0006-000700080009", "00020003-0004-0005-0006-000700080009",
        "00010203-0405-0607-0809-0a0b0c0d0e0f", "03020100-0504-0706-0809-0a0b0c0d0e0f",
        "11111111-1111-1111-1111-111111111111", "fefefefe-fefe-fefe-fefe-fefefefefefe",
        "12345678-1234-5678-90ab-cddeefaabbcc", "78563412-3412-7856-90ab-cddeefaabbcc"}) {
    EXPECT_THAT(AboutSystem("uuid = " + uuid + "\n"), ElementsAre(HasSubstr("the UUID is " + uuid)))
        << uuid;
  }
  EXPECT_THAT(AboutSystem("length = 0x08\n"), IsEmpty());
  const std::string counting = "bytes 0x08 = 00 F9 00 FA 00 FB 00 FC 00 FD 00 FE 00 FF 01";
  EXPECT_THAT(AboutSystem("length = 0x17\n" + counting + "\n"), IsEmpty());
  EXPECT_THAT(AboutSystem("length = 0x18\n" + counting + " 00\n"),
              ElementsAre(HasSubstr("the UUID is fa00f900")));
}

TEST(LintTexts, OnlyTextsOfTheBoardStandForNoSerialNumber) {
  const auto board = [](const std::string& fields) {
    return LinesAbout(SoundWith("[board]\nchassis = 0xFFFF\n" + fields), kTable);
  };
  EXPECT_THAT(board(""), IsEmpty());
  EXPECT_THAT(board("serial = \"PLANAR-000101\"\n"), IsEmpty());
  EXPECT_THAT(board("serial = \"Base Board Serial Number\"\n"),
              ElementsAre(HasSubstr("[board-serial]")));
}

TEST(LintTexts, AShortStructureMattersWhereAReaderMissesSomething) {
  const auto cache = [](const std::string& fields) {
    return LinesAbout(SoundWith("[cache]\n" + fields), kTable);
  };
  EXPECT_THAT(cache("length = 0x13\n"), IsEmpty());
  EXPECT_THAT(cache("installed-size = 0xFFFE\nlength = 0x13\n"), IsEmpty());
  EXPECT_THAT(
      cache("installed-size = 0xFFFF\nlength = 0x13\n"),
      ElementsAre(AllOf(HasSubstr(": note: "), HasSubstr("13h bytes, fewer than version 3.3"),
                        HasSubstr("readers miss the size; add the fields up to 1Bh"))));
  EXPECT_THAT(cache("installed-size = 0xFFFF\nlength = 0x1B\n"), IsEmpty());
  EXPECT_THAT(cache("length = 0x0F\n"), IsEmpty());
  EXPECT_THAT(cache("length = 0x0E\n"), ElementsAre(HasSubstr("[structure-short]")));
}

TEST(LintTexts, AnOlderTableNeedNotHaveWhatCameLater) {
  const std::string second =
      "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"2\"\narray = 0xFFFF\n";
  const auto ofVersion = [&](const std::string& version, const std::string& fields) {
    std::string source = SoundWith(second + fields);
    return LinesAbout(source.replace(source.find("3.3"), 3, version), kTable);
  };
  EXPECT_THAT(ofVersion("2.6", "length = 0x1C\n"), IsEmpty());
  EXPECT_THAT(ofVersion("2.7", "length = 0x1C\n"),
              ElementsAre(HasSubstr("readers miss the configured speed")));
  EXPECT_THAT(ofVersion("2.7", "length = 0x22\n"), IsEmpty());
  EXPECT_THAT(ofVersion("2.7", "size = 0\nlength = 0x1C\n"), IsEmpty());  // an empty slot
}

TEST(LintTexts, AnotherMakersType226IsLeftAlone) {
  std::string source = SoundWith("[dimm-extension]\nlength = 0x08\ndevice = 0x0DEA\n");
  EXPECT_THAT(LinesAbout(source), ElementsAre(HasSubstr("[extension-layout]")));
  const std::size_t map = source.find("[fqdd-map]");
  source.erase(map, source.find("[dimm-extension]") - map);
  EXPECT_THAT(LinesAbout(source), ElementsAre(HasSubstr("[fqdd-map-missing]")));
  source.replace(source.find("0x0DEA"), 6, "@dimm1");
  EXPECT_THAT(LinesAbout(source),
              ElementsAre(HasSubstr("[fqdd-map-missing]"), HasSubstr("[extension-layout]")));
}

}  // namespace
}  // namespace tvq::lint
