/*
 * Files on the agent's volume: read and written whole or reported.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/volume_fixture.h"

#include "TvqPlatformPkg/src/agent/volume.h"

extern "C" {
#include <Library/DevicePathLib.h>
#include <Protocol/LoadedImage.h>
}

namespace tvq::test {
namespace {

constexpr char kPath[] = "\\TVQ\\a.bin";
constexpr UINTN kNoLimit = SIZE_1MB;

std::string Pattern(size_t size) {
  std::string text(size, 0);
  for (size_t i = 0; i < size; ++i) {
    text[i] = static_cast<char>(i % 251);
  }
  return text;
}

class AgentVolume : public AgentVolumeTest {
 protected:
  struct Content {
    EFI_STATUS status;
    std::string text;

    bool operator==(const Content& other) const {
      return status == other.status && text == other.text;
    }
  };
  Content Read(UINTN limit = kNoLimit) {
    tvqplatform::GrowingArray<UINT8> bytes;
    const EFI_STATUS status = Volume().Read(Wide(u"\\TVQ\\a.bin"), limit, bytes);
    Content content = {status, EFI_ERROR(status) ? "" : std::string(bytes.begin(), bytes.end())};
    Firmware().BootServices()->FreePool(bytes.Data());
    return content;
  }
  EFI_STATUS Write(const std::string& text) {
    return Volume().Write(Wide(u"\\TVQ\\a.bin"),
                          {reinterpret_cast<const UINT8*>(text.data()), text.size()});
  }
};

TEST_F(AgentVolume, ReadsFilesOfAnySize) {
  for (const size_t size : {0u, 1u, 4095u, 4096u, 4097u, 8192u, 100000u}) {
    Files().Put(kPath, Pattern(size));
    EXPECT_EQ(Read(), (Content{EFI_SUCCESS, Pattern(size)})) << size;
  }
}

TEST_F(AgentVolume, ReadsNoFileThatIsLargerThanAllowed) {
  for (const size_t limit : {0u, 1u, 4096u, 5000u}) {
    Files().Put(kPath, Pattern(limit));
    EXPECT_EQ(Read(limit).status, EFI_SUCCESS) << limit;
    Files().Put(kPath, Pattern(limit + 1));
    EXPECT_EQ(Read(limit).status, EFI_BAD_BUFFER_SIZE) << limit;
  }
}

TEST_F(AgentVolume, SaysWhyAFileCannotBeRead) {
  EXPECT_EQ(Read().status, EFI_NOT_FOUND);
  Files().Put(kPath, "x");
  Files().Fail(FileCall::kOpen, EFI_ACCESS_DENIED);
  EXPECT_EQ(Read().status, EFI_ACCESS_DENIED);
  Files().Recover();
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR);
  EXPECT_EQ(Read().status, EFI_DEVICE_ERROR);
  Files().Recover();
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_EQ(Read().status, EFI_OUT_OF_RESOURCES);
}

TEST_F(AgentVolume, WritesFilesOfAnySize) {
  for (const size_t size : {0u, 1u, 5000u}) {
    EXPECT_EQ(Write(Pattern(size)), EFI_SUCCESS);
    EXPECT_EQ(Files().Get(kPath), Pattern(size)) << size;
  }
}

TEST_F(AgentVolume, WritesNoFileThatIsThereAlready) {
  ASSERT_EQ(Write("text"), EFI_SUCCESS);
  Files().Fail(FileCall::kWrite, EFI_DEVICE_ERROR);
  EXPECT_EQ(Write("text"), EFI_SUCCESS);
  EXPECT_EQ(Write("texT"), EFI_DEVICE_ERROR);
  EXPECT_EQ(Write("tex"), EFI_DEVICE_ERROR);
}

TEST_F(AgentVolume, WritesAnEndWhenAllInFrontOfItIsThere) {
  const Bytes start = {1, 2};
  const Bytes end = {3};
  EXPECT_EQ(Volume().WriteNew(Wide(u"\\TVQ\\a.bin"), View(start), View(end)), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kPath), "\1\2\3");
  Files().Remove(kPath);
  Files().Fail(FileCall::kFlush, EFI_DEVICE_ERROR);
  EXPECT_EQ(Volume().WriteNew(Wide(u"\\TVQ\\a.bin"), View(start), View(end)), EFI_DEVICE_ERROR);
  EXPECT_EQ(Files().Get(kPath), "\1\2");
}

TEST_F(AgentVolume, ReportsAFileThatCannotBeRemoved) {
  Files().Put(kPath, "text");
  EXPECT_EQ(Volume().Remove(Wide(u"\\TVQ\\a.bin")), EFI_SUCCESS);
  EXPECT_EQ(Volume().Remove(Wide(u"\\TVQ\\a.bin")), EFI_SUCCESS) << "there is none";
  Files().Put(kPath, "a longer text");
  Files().Fail(FileCall::kDelete, EFI_WARN_DELETE_FAILURE);
  EXPECT_EQ(Volume().Remove(Wide(u"\\TVQ\\a.bin")), EFI_WRITE_PROTECTED);
  EXPECT_EQ(Write("text"), EFI_WRITE_PROTECTED);
  EXPECT_EQ(Files().Get(kPath), "a longer text");
  Files().Fail(FileCall::kOpen, EFI_ACCESS_DENIED, kPath);
  EXPECT_EQ(Volume().Remove(Wide(u"\\TVQ\\a.bin")), EFI_ACCESS_DENIED);
}

TEST_F(AgentVolume, ListsWhatAFolderHas) {
  Files().Put(kPath, "x");
  Files().Put("\\TVQ\\sub\\b.bin", "x");
  Files().Put("\\TVQ\\" + std::string(63, 'w'), "a name that has room");
  Files().Put("\\TVQ\\" + std::string(64, 'x'), "a name that has no room");
  tvqplatform::GrowingArray<tvqplatform::VolumeEntry> entries;
  ASSERT_EQ(Volume().List(Wide(u"\\TVQ"), entries), EFI_SUCCESS);
  std::vector<std::string> names;
  for (const tvqplatform::VolumeEntry& entry : entries) {
    names.push_back(Utf8(entry.Name) + (entry.IsFolder ? "\\" : ""));
  }
  Firmware().BootServices()->FreePool(entries.Data());
  EXPECT_THAT(names, testing::ElementsAre(".\\", "sub\\", "a.bin", std::string(63, 'w')));
}

TEST_F(AgentVolume, SaysWhyAFolderCannotBeListed) {
  tvqplatform::GrowingArray<tvqplatform::VolumeEntry> entries;
  EXPECT_EQ(Volume().List(Wide(u"\\missing"), entries), EFI_NOT_FOUND);
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR);
  EXPECT_EQ(Volume().List(Wide(u"\\TVQ"), entries), EFI_DEVICE_ERROR);
  Files().Recover();
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_EQ(Volume().List(Wide(u"\\TVQ"), entries), EFI_OUT_OF_RESOURCES);
}

TEST_F(AgentVolume, ReplacesALongerFile) {
  Files().Put(kPath, Pattern(100));
  EXPECT_EQ(Write("short"), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kPath), "short");
}

TEST_F(AgentVolume, SaysWhyAFileCannotBeWritten) {
  const struct {
    FileCall call;
    EFI_STATUS status;
  } kFailures[] = {{FileCall::kOpen, EFI_WRITE_PROTECTED},
                   {FileCall::kWrite, EFI_DEVICE_ERROR},
                   {FileCall::kFlush, EFI_VOLUME_FULL}};
  for (const auto& [call, status] : kFailures) {
    Files().Fail(call, status);
    EXPECT_EQ(Write("text"), status) << static_cast<int>(call);
    Files().Recover();
    Files().Remove(kPath);
  }
  Files().LimitWrites(3);
  EXPECT_EQ(Write("text"), EFI_VOLUME_FULL);
}

TEST_F(AgentVolume, MakesAFolder) {
  EXPECT_EQ(Volume().MakeFolder(Wide(u"\\new")), EFI_SUCCESS);
  EXPECT_EQ(Volume().Write(Wide(u"\\new\\file"), {}), EFI_SUCCESS);
  EXPECT_EQ(Volume().MakeFolder(Wide(u"\\new")), EFI_SUCCESS) << "it may be there";
  EXPECT_EQ(Volume().MakeFolder(Wide(u"\\missing\\new")), EFI_NOT_FOUND);
}

TEST_F(AgentVolume, KnowsWhichFilesAreThere) {
  EXPECT_FALSE(Volume().Exists(Wide(u"\\TVQ\\a.bin")));
  Files().Put(kPath, "");
  EXPECT_TRUE(Volume().Exists(Wide(u"\\TVQ\\a.bin")));
}

TEST_F(AgentVolume, NamesAFileByItsDevicePath) {
  EFI_DEVICE_PATH_PROTOCOL* path = Volume().PathOf(Wide(u"\\TVQ\\a.bin"));
  ASSERT_NE(path, nullptr);
  EXPECT_EQ(path->Type, MEDIA_DEVICE_PATH);
  EXPECT_EQ(path->SubType, MEDIA_FILEPATH_DP);
  EXPECT_EQ(Utf8(reinterpret_cast<FILEPATH_DEVICE_PATH*>(path)->PathName), kPath);
  Firmware().BootServices()->FreePool(path);
}

TEST_F(AgentVolume, IsNotTriedWhereTheFileSystemSaysThatItTakesNothing) {
  Files().SayProtected();
  Volume().TryToWrite(Wide(u"\\new"));
  EXPECT_TRUE(Volume().IsReadOnly());
  EXPECT_EQ(Files().Changes(), 0u);
}

TEST_F(AgentVolume, TakesFilesOnADisk) {
  struct {
    SCSI_DEVICE_PATH scsi;  // of the type of a disc's node among those of another kind
    HARDDRIVE_DEVICE_PATH disk;
    EFI_DEVICE_PATH_PROTOCOL end;
  } path = {};
  path.scsi.Header = {MESSAGING_DEVICE_PATH, MSG_SCSI_DP, {sizeof(path.scsi), 0}};
  path.disk.Header = {MEDIA_DEVICE_PATH, MEDIA_HARDDRIVE_DP, {sizeof(path.disk), 0}};
  path.end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(path.end), 0}};
  EFI_HANDLE device = Files().Device();
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  ASSERT_EQ(services->InstallProtocolInterface(&device, &gEfiDevicePathProtocolGuid,
                                               EFI_NATIVE_INTERFACE, &path),
            EFI_SUCCESS);
  Volume().TryToWrite(Wide(u"\\new"));
  EXPECT_FALSE(Volume().IsReadOnly());
  EXPECT_EQ(services->UninstallProtocolInterface(device, &gEfiDevicePathProtocolGuid, &path),
            EFI_SUCCESS);
}

TEST_F(AgentVolume, ThatIsNotOpenHasNoFiles) {
  tvqplatform::Volume closed;
  tvqplatform::GrowingArray<UINT8> bytes;
  EXPECT_EQ(closed.Read(Wide(u"\\TVQ\\a.bin"), kNoLimit, bytes), EFI_NO_MEDIA);
  EXPECT_EQ(closed.Write(Wide(u"\\TVQ\\a.bin"), {}), EFI_NO_MEDIA);
  EXPECT_EQ(closed.MakeFolder(Wide(u"\\new")), EFI_NO_MEDIA);
  EXPECT_FALSE(closed.Exists(Wide(u"\\TVQ\\a.bin")));
}

TEST_F(AgentVolume, CannotBeOpenedWithoutADeviceOrAFileSystem) {
  tvqplatform::Volume volume;
  SetDevice(nullptr);
  EXPECT_EQ(volume.Open(Image()), EFI_NO_MEDIA);
  SetDevice(Image());
  EXPECT_EQ(volume.Open(Image()), EFI_UNSUPPORTED);
  EXPECT_EQ(volume.Open(Files().Device()), EFI_UNSUPPORTED) << "it is no image";
}

}  // namespace
}  // namespace tvq::test
