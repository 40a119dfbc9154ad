/*
 * The driver's documents, as `tvq` reads and shows them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/cli/device/blob.h"

namespace tvq::cli {
namespace {

const std::string kStart = std::string(kDeclaration) + std::string(kRootTag);
constexpr char kFinish[] = "</tvqComponent>";

Element Read(const std::string& content) {
  return ReadDocument(kStart + content + kFinish);
}

// "offset behind the root's tag: what is wrong"; empty when nothing is.
std::string ErrorBehindRoot(const std::string& content) {
  try {
    ReadDocument(kStart + content);
  } catch (const DataError& error) {
    return std::to_string(static_cast<long>(error.Offset()) - static_cast<long>(kStart.size())) +
           ": " + error.what();
  }
  return "";
}

TEST(Document, HasSectionsAndTexts) {
  const Element root = Read("<Inventory><WWN>1</WWN></Inventory><Other>2</Other>");
  EXPECT_EQ(root.name, "tvqComponent");
  EXPECT_EQ(root.TextOf("Inventory/WWN"), "1");
  EXPECT_EQ(root.TextOf("Other"), "2");
  EXPECT_EQ(root.TextOf("Inventory/Other"), "");
  EXPECT_EQ(root.TextOf("Missing/WWN"), "");
  EXPECT_NE(root.Find("Inventory"), nullptr);
  EXPECT_EQ(root.Find("WWN"), nullptr);
  EXPECT_TRUE(root.Find("Inventory")->isSection);
  EXPECT_FALSE(root.Find("Other")->isSection);
}

TEST(Document, KnowsWhereItsTextsStand) {
  const Element root = Read("<A>one</A><B></B>");
  EXPECT_EQ(root.Find("A")->offset, kStart.size() + 3);
  EXPECT_EQ(root.Find("B")->offset, kStart.size() + 13);
}

TEST(Document, SaysWhetherItHasAnElement) {
  const Element root = Read("<Inventory><WWN></WWN></Inventory><Other>2</Other>");
  for (const char* const path : {"Inventory", "Inventory/WWN", "Other"}) {
    EXPECT_TRUE(root.Has(path)) << path;
  }
  for (const char* const path : {"WWN", "Missing", "Missing/WWN", "Inventory/Other", "Other/WWN"}) {
    EXPECT_FALSE(root.Has(path)) << path;
  }
}

TEST(Document, TakesTextsAsTheyAreUpToTheirTag) {
  EXPECT_EQ(Read("<A>a & <b> </B>\n</A>").TextOf("A"), "a & <b> </B>\n");
  EXPECT_EQ(Read("<A>a<bA>b</AB>c<</A>").TextOf("A"), "a<bA>b</AB>c<");
  EXPECT_EQ(Read("<A></A>").TextOf("A"), "");
}

TEST(Document, BeginsWithItsDeclarationAndRoot) {
  EXPECT_THROW(ReadDocument(""), DataError);
  EXPECT_THROW(ReadDocument(std::string(kDeclaration)), DataError);
  EXPECT_THROW(ReadDocument("x" + kStart + kFinish), DataError);
  EXPECT_EQ(ErrorBehindRoot(kFinish), "");
}

TEST(Document, SaysWhereItIsWrong) {
  const std::string expected = "an element of 'tvqComponent' or its end should stand here";
  EXPECT_EQ(ErrorBehindRoot(""), "0: " + expected);
  EXPECT_EQ(ErrorBehindRoot("text"), "0: " + expected);
  EXPECT_EQ(ErrorBehindRoot("<A>1</A>text"), "8: " + expected);
  EXPECT_EQ(ErrorBehindRoot("<>"), "0: " + expected);
  EXPECT_EQ(ErrorBehindRoot("<A"), "0: " + expected);
  EXPECT_EQ(ErrorBehindRoot("<A B>"), "0: " + expected);
  EXPECT_EQ(ErrorBehindRoot("<A>1</B>"), "0: 'A' does not end");
  EXPECT_EQ(ErrorBehindRoot("<Inventory></tvqComponent>"),
            "11: an element of 'Inventory' or its end should stand here");
  EXPECT_EQ(ErrorBehindRoot(std::string(kFinish) + "\n"),
            "15: there is more behind the document's end");
}

TEST(Document, EndsWhereItsBytesEnd) {
  const std::string more = kStart + "<Abcd";
  EXPECT_THROW(ReadDocument(std::string_view(more).substr(0, more.size() - 2)), DataError);
}

TEST(Document, HasNamesOfLettersDigitsAndUnderscoresUpTo64Characters) {
  for (const char character : {'a', 'z', 'A', 'Z', '0', '9', '_'}) {
    EXPECT_TRUE(IsNameCharacter(character)) << character;
  }
  for (const char character : {'`', '{', '@', '[', '/', ':', '^', '-', ' ', '\0', '\xE9'}) {
    EXPECT_FALSE(IsNameCharacter(character)) << character;
  }
  const std::string longest(64, 'N');
  EXPECT_EQ(Read("<" + longest + ">1</" + longest + ">").TextOf(longest), "1");
  EXPECT_NE(ErrorBehindRoot("<" + longest + "N>1</" + longest + "N>" + kFinish), "");
}

TEST(Document, NestsItsSectionsSevenDeep) {
  const auto nested = [](int depth) {
    std::string content;
    for (int i = 0; i < depth; ++i) {
      content += "<Inventory>";
    }
    for (int i = 0; i < depth; ++i) {
      content += "</Inventory>";
    }
    return content + kFinish;
  };
  EXPECT_EQ(ErrorBehindRoot(nested(7)), "");
  EXPECT_EQ(ErrorBehindRoot(nested(8)), "88: sections are nested too deep");
}

TEST(Document, IsShownWithALineForEachText) {
  const Element root = Read("<Inventory><WWN>a\x01</WWN></Inventory><B></B>");
  EXPECT_EQ(Indented(root, {}, 2),
            "  <tvqComponent>\n"
            "    <Inventory>\n"
            "      <WWN>a\\x01</WWN>\n"
            "    </Inventory>\n"
            "    <B></B>\n"
            "  </tvqComponent>\n");
  Terminal coloured;
  coloured.hasColour = true;
  EXPECT_EQ(Indented(*root.Find("B"), coloured, 0),
            Painted(coloured, Ink::kDim, "<B>") + Painted(coloured, Ink::kDim, "</B>") + "\n");
}

TEST(Document, IsShownWithATextBelowItsTagWhereALineHasNoRoomForBoth) {
  const Element root = Read("<Name>one two three</Name>");
  Terminal terminal;
  terminal.width = std::string_view("    <Name>one two three</Name>").size();
  EXPECT_EQ(Indented(root, terminal, 2),
            "  <tvqComponent>\n"
            "    <Name>one two three</Name>\n"
            "  </tvqComponent>\n");
  --terminal.width;
  EXPECT_EQ(Indented(root, terminal, 2),
            "  <tvqComponent>\n"
            "    <Name>\n"
            "      one two three\n"
            "    </Name>\n"
            "  </tvqComponent>\n");
}

TEST(Document, NumbersTheSecondSectionOfANameAndAllFurtherOnes) {
  std::vector<std::string> visited;
  VisitTexts(Read("<A>0</A>"
                  "<PCISlotInfo><B>1</B></PCISlotInfo>"
                  "<Inventory><B>2</B><HBMData><C>3</C></HBMData></Inventory>"
                  "<PCISlotInfo><B>4</B></PCISlotInfo>"
                  "<PCISlotInfo><B>5</B></PCISlotInfo>"),
             "", [&visited](const std::string& path, const std::string& text) {
               visited.push_back(path + "=" + text);
             });
  EXPECT_THAT(visited, testing::ElementsAre("A=0", "PCISlotInfo/B=1", "Inventory/B=2",
                                            "Inventory/HBMData/C=3", "PCISlotInfo[2]/B=4",
                                            "PCISlotInfo[3]/B=5"));
}

TEST(Document, IsAnObjectWithListsOfWhatRepeats) {
  EXPECT_EQ(
      ToJson(Read("<Inventory><WWN>\xE9</WWN></Inventory>"
                  "<PCISlotInfo><Desig>1</Desig></PCISlotInfo>"
                  "<PCISlotInfo><Desig>2</Desig></PCISlotInfo>"
                  "<HBMData></HBMData>"))
          .dump(),
      R"({"Inventory":{"WWN":"é"},"PCISlotInfo":[{"Desig":"1"},{"Desig":"2"}],"HBMData":[{}]})");
}

}  // namespace
}  // namespace tvq::cli
