/*
 * How the page spells what parts state.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include "host/cli/report/page_sections.h"

namespace tvq::cli {
namespace {

TEST(PageParts, TitlesAreWordsThatBeginLarge) {
  EXPECT_EQ(FactTitle("assetTag"), "Asset tag");
  EXPECT_EQ(FactTitle("sizeInBytes"), "Size");
  EXPECT_EQ(FactTitle("zone"), "Zone");
  EXPECT_EQ(FactTitle("Zone"), "Zone");
  EXPECT_EQ(FactTitle(""), "");
}

TEST(PageParts, TitlesThatAreNamesAreWrittenLarge) {
  EXPECT_EQ(FactTitle("uuid"), "UUID");
  EXPECT_EQ(FactTitle("sku"), "SKU");
  EXPECT_EQ(FactTitle("ppin"), "PPIN");
  EXPECT_EQ(FactTitle("id"), "ID");
}

TEST(PageParts, QuotationMarksAroundAValueAreTakenOff) {
  EXPECT_EQ(Unquoted("\"TAG-1\""), "TAG-1");
  EXPECT_EQ(Unquoted("\"\""), "");
  EXPECT_EQ(Unquoted("0x10"), "0x10");
}

TEST(PageParts, AQuotationMarkAtOneEndIsPartOfAValue) {
  for (const char* const value : {"", "\"", "\"5", "5\"", "5\"5"}) {
    EXPECT_EQ(Unquoted(value), value);
  }
}

}  // namespace
}  // namespace tvq::cli
