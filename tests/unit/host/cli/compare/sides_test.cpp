/*
 * What is masked of a comparison of two sides.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/sides.h"

#include <gtest/gtest.h>

#include "tests/unit/host/cli/redact/redact_fixture.h"

namespace tvq::cli {
namespace {

// States of which neither has its table: the names of the fields alone tell what is a secret.
TEST(MaskedSides, AreMaskedWhereAFieldIsASecret) {
  Side before;
  Side after;
  SecretList secrets;
  std::vector<run::FieldChange> changes = {{"Inventory/WWN", "11223344", "55667788"},
                                           {"Board/SerialNumber", std::nullopt, "BRD0001X"},
                                           {"Inventory/MarketingName", "Model-Eight", "Model-Nine"},
                                           {"WWN", "AABBCCDD", std::nullopt}};
  MaskSides(before, after, TestMasker(), secrets, changes);
  EXPECT_EQ(changes[0].before, Mask("11223344"));
  EXPECT_EQ(changes[0].after, Mask("55667788"));
  EXPECT_EQ(changes[1].before, std::nullopt);
  EXPECT_EQ(changes[1].after, Mask("BRD0001X"));
  EXPECT_EQ(changes[2].before, "Model-Eight");
  EXPECT_EQ(changes[2].after, "Model-Nine");
  EXPECT_EQ(changes[3].before, Mask("AABBCCDD"));
}

}  // namespace
}  // namespace tvq::cli
