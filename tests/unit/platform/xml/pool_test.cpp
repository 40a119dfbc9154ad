/*
 * The memory that expat takes from the pool: as malloc, realloc and free have it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/xml/pool.h"

namespace tvq::test {
namespace {

class XmlPool : public PlatformTest {
 protected:
  XmlPool() : mBefore(Blocks()) {}
  ~XmlPool() override { EXPECT_EQ(Blocks(), mBefore) << "blocks are left"; }

  size_t Blocks() { return Firmware().Memory().LiveCount(host::images::platform); }
  void FailNext() { Firmware().Memory().FailAllocation(1, host::images::platform); }

 private:
  size_t mBefore;
};

TEST_F(XmlPool, KeepsTheContentOfABlockThatGrowsOrShrinks) {
  auto* block = static_cast<char*>(TvqXmlAllocate(8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "1234567", 8);
  for (const size_t size : {100u, 8u, 4u}) {
    block = static_cast<char*>(TvqXmlReallocate(block, size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::memcmp(block, "1234567", size < 8 ? size : 8), 0) << size;
  }
  TvqXmlFree(block);
}

TEST_F(XmlPool, MakesABlockOfNone) {
  auto* block = static_cast<char*>(TvqXmlReallocate(nullptr, 8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "1234567", 8);
  TvqXmlFree(block);
  TvqXmlFree(nullptr);
}

TEST_F(XmlPool, LeavesABlockThatCannotGrowAsItIs) {
  auto* block = static_cast<char*>(TvqXmlAllocate(8));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "1234567", 8);
  FailNext();
  EXPECT_EQ(TvqXmlReallocate(block, 100), nullptr);
  EXPECT_STREQ(block, "1234567");
  TvqXmlFree(block);
  FailNext();
  EXPECT_EQ(TvqXmlAllocate(8), nullptr);
}

// With what stands in front of it, it would have few bytes.
TEST_F(XmlPool, HasNoBlockOfASizeThatWrapsAround) {
  for (const size_t size : {MAX_UINTN, MAX_UINTN - 1, MAX_UINTN - 15}) {
    EXPECT_EQ(TvqXmlAllocate(size), nullptr) << size;
  }
}

}  // namespace
}  // namespace tvq::test
