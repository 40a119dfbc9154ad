/*
 * The end blob, a fixed marker that closes a device's blob set.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using EndBlob = RecordTest;

TEST_F(EndBlob, IsAHeaderAndZeros) {
  TVQ_BLOB_HEADER* blob = nullptr;
  ASSERT_EQ(getEndBlob(&blob), EFI_SUCCESS);
  ASSERT_NE(blob, nullptr);
  EXPECT_EQ(BytesAt(blob, 148),
            ByteWriter().U32(1).U32(7).U32(0x36912F26).U32(148).Zeros(132).Written());
}

TEST_F(EndBlob, IsANewBlockOfBootServicesPoolEachTime) {
  TVQ_BLOB_HEADER* first = nullptr;
  TVQ_BLOB_HEADER* second = nullptr;
  ASSERT_EQ(getEndBlob(&first), EFI_SUCCESS);
  ASSERT_EQ(getEndBlob(&second), EFI_SUCCESS);
  EXPECT_NE(first, second);
  EXPECT_THAT(NewBlockSizes(), ElementsAre(148, 148));
  EXPECT_EQ(NewBlocks()[0].type, EfiBootServicesData);
}

TEST_F(EndBlob, LogsItsWork) {
  TVQ_BLOB_HEADER* blob = nullptr;
  ASSERT_EQ(getEndBlob(&blob), EFI_SUCCESS);
  EXPECT_THAT(TakeLog(), ElementsAre("getEndBlob: Entering \n", "getEndBlob: Exiting \n"));
}

TEST_F(EndBlob, NeedsMemory) {
  TVQ_BLOB_HEADER* blob = nullptr;
  FailAllocation(1);
  EXPECT_EQ(getEndBlob(&blob), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blob, nullptr);
  EXPECT_THAT(TakeLog(), ElementsAre("getEndBlob: Entering \n",
                                     "getEndBlob: Failed to allocate memory for tvqEndBlob \n"));
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

}  // namespace
}  // namespace tvq::test
