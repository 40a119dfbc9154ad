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
                                    "nor does the one behind it"),
                          HasSubstr("the same device path again")));
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

TEST(LintTexts, SerialNumbersAreAlikeInTheirFirst14Characters) {
  EXPECT_THAT(LinesAbout(SoundWith(
                  "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"AAAABBBBCCCCDD1\"\n"
                  "[memory-device like @dimm1]\nlocator = \"A3\"\nserial = \"AAAABBBBCCCCDD2\"\n")),
              Contains(HasSubstr("and that of handle 0x000B are alike")));
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

}  // namespace
}  // namespace tvq::lint
