/*
 * A volume with files in memory.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include <strings.h>

#include "tests/unit/platform/agent/fake_volume.h"
#include "tests/unit/shared/text.h"

extern "C" {
#include <Guid/FileInfo.h>
#include <Guid/FileSystemInfo.h>
}

namespace tvq::test {

bool FakeVolume::IgnoresCase::operator()(const std::string& left, const std::string& right) const {
  return strcasecmp(left.c_str(), right.c_str()) < 0;
}

// The interface comes first, so that its address is that of the handle.
struct FakeVolume::Handle {
  EFI_FILE_PROTOCOL interface = {};
  FakeVolume* volume = nullptr;
  std::string path;
  UINT64 mode = 0;
  size_t position = 0;
  std::vector<std::pair<std::string, UINT64>> entries{};  // of a folder, since its first was read
};

namespace {

FakeVolume* gVolume = nullptr;

FakeVolume::Handle& Self(EFI_FILE_PROTOCOL* interface) {
  return *reinterpret_cast<FakeVolume::Handle*>(interface);
}

EFI_STATUS EFIAPI OpenVolume(EFI_SIMPLE_FILE_SYSTEM_PROTOCOL*, EFI_FILE_PROTOCOL** root) {
  return gVolume->Open(root, "\\", EFI_FILE_MODE_READ, 0);
}
EFI_STATUS EFIAPI Open(EFI_FILE_PROTOCOL* self, EFI_FILE_PROTOCOL** opened, CHAR16* path,
                       UINT64 mode, UINT64 attributes) {
  return Self(self).volume->Open(opened, Utf8(path), mode, attributes);
}
EFI_STATUS EFIAPI Close(EFI_FILE_PROTOCOL* self) {
  Self(self).volume->Close(&Self(self));
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI Delete(EFI_FILE_PROTOCOL* self) {
  FakeVolume& volume = *Self(self).volume;
  const EFI_STATUS status = volume.Delete(Self(self));
  volume.Close(&Self(self));
  return status;
}
EFI_STATUS EFIAPI Read(EFI_FILE_PROTOCOL* self, UINTN* size, VOID* buffer) {
  return Self(self).volume->Read(Self(self), size, buffer);
}
EFI_STATUS EFIAPI Write(EFI_FILE_PROTOCOL* self, UINTN* size, VOID* buffer) {
  return Self(self).volume->Write(Self(self), size, buffer);
}
EFI_STATUS EFIAPI Flush(EFI_FILE_PROTOCOL* self) {
  return Self(self).volume->Flush(Self(self));
}
EFI_STATUS EFIAPI GetInfo(EFI_FILE_PROTOCOL* self, EFI_GUID* type, UINTN* size, VOID* buffer) {
  return Self(self).volume->GetInfo(*type, size, buffer);
}

}  // namespace

FakeVolume::FakeVolume(host::Firmware& machine) : mFirmware(machine), mFolders{"\\", "\\TVQ"} {
  gVolume = this;
  mFileSystem.Revision = EFI_SIMPLE_FILE_SYSTEM_PROTOCOL_REVISION;
  mFileSystem.OpenVolume = OpenVolume;
  EXPECT_EQ(machine.BootServices()->InstallProtocolInterface(
                &mDevice, &gEfiSimpleFileSystemProtocolGuid, EFI_NATIVE_INTERFACE, &mFileSystem),
            EFI_SUCCESS);
}

FakeVolume::~FakeVolume() {
  EXPECT_TRUE(mOpen.empty()) << "a file was left open";
  mFirmware.BootServices()->UninstallProtocolInterface(mDevice, &gEfiSimpleFileSystemProtocolGuid,
                                                       &mFileSystem);
  gVolume = nullptr;
}

void FakeVolume::Put(const std::string& path, const std::string& content) {
  for (size_t at = path.find('\\', 1); at != std::string::npos; at = path.find('\\', at + 1)) {
    if (!IsFolder(path.substr(0, at))) {
      mFolders.push_back(path.substr(0, at));
    }
  }
  mFiles[path] = content;
}

void FakeVolume::RemoveFolder(const std::string& path) {
  const auto isIn = [&](const std::string& other) {
    return other == path || other.compare(0, path.size() + 1, path + '\\') == 0;
  };
  mFolders.erase(std::remove_if(mFolders.begin(), mFolders.end(), isIn), mFolders.end());
  for (const std::string& file : Paths()) {
    if (isIn(file)) {
      Remove(file);
    }
  }
}

std::vector<std::string> FakeVolume::Paths() const {
  std::vector<std::string> paths;
  for (const auto& [path, content] : mFiles) {
    paths.push_back(path);
  }
  return paths;
}

std::string FakeVolume::Spelled(const std::string& path) const {
  const auto found = mFiles.find(path);
  return found == mFiles.end() ? path : found->first;
}

bool FakeVolume::IsFolder(const std::string& path) const {
  return std::find(mFolders.begin(), mFolders.end(), path) != mFolders.end();
}

EFI_STATUS FakeVolume::Begin(FileCall call, const std::string& path) {
  if (mLastCall && ++mCalls > *mLastCall) {
    return EFI_NO_MEDIA;
  }
  for (const Failure& failure : mFailures) {
    if (failure.call == call && (failure.path.empty() || failure.path == path)) {
      return failure.status;
    }
  }
  return EFI_SUCCESS;
}

bool FakeVolume::Recover() {
  const bool wasAway = mLastCall && mCalls >= *mLastCall;
  mLastCall.reset();
  mFailures.clear();
  mWriteLimit = MAX_UINTN;
  mDamaged.clear();
  return wasAway;
}

EFI_STATUS FakeVolume::Make(const std::string& path, UINT64 attributes) {
  if (!IsFolder(path.substr(0, std::max<size_t>(1, path.rfind('\\'))))) {
    return EFI_NOT_FOUND;
  }
  ++mChanges;
  if (attributes == EFI_FILE_DIRECTORY) {
    mFolders.push_back(path);
  } else {
    mFiles[path] = "";
  }
  return EFI_SUCCESS;
}

EFI_STATUS FakeVolume::Open(EFI_FILE_PROTOCOL** opened, const std::string& path, UINT64 mode,
                            UINT64 attributes) {
  constexpr UINT64 kChange = EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE;
  const bool mayMake = mode == (kChange | EFI_FILE_MODE_CREATE);
  if (!mayMake && mode != EFI_FILE_MODE_READ && mode != kChange) {
    return EFI_INVALID_PARAMETER;
  }
  // They are for what is made, and nothing that the agent makes is hidden or read-only.
  if (attributes != 0 && (!mayMake || attributes != EFI_FILE_DIRECTORY)) {
    return EFI_INVALID_PARAMETER;
  }
  if (mIsProtected && mode != EFI_FILE_MODE_READ) {
    return EFI_WRITE_PROTECTED;
  }
  const std::string spelled = Spelled(path);
  EFI_STATUS status = Begin(FileCall::kOpen, spelled);
  if (status == EFI_SUCCESS && !IsFolder(spelled) && !Has(spelled)) {
    status = mayMake ? Make(spelled, attributes) : EFI_NOT_FOUND;
  }
  if (status != EFI_SUCCESS) {
    return status;
  }
  auto handle = std::make_unique<Handle>();
  handle->volume = this;
  handle->path = spelled;
  handle->mode = mode;
  handle->interface.Revision = EFI_FILE_PROTOCOL_REVISION;
  handle->interface.Open = test::Open;
  handle->interface.Close = test::Close;
  handle->interface.Delete = test::Delete;
  handle->interface.Read = test::Read;
  handle->interface.Write = test::Write;
  handle->interface.Flush = test::Flush;
  handle->interface.GetInfo = test::GetInfo;
  *opened = &handle->interface;
  mOpen.push_back(std::move(handle));
  return EFI_SUCCESS;
}

void FakeVolume::Close(Handle* handle) {
  const auto found = std::find_if(mOpen.begin(), mOpen.end(),
                                  [&](const auto& open) { return open.get() == handle; });
  ASSERT_NE(found, mOpen.end()) << "a file was closed twice";
  mOpen.erase(found);
}

// Of the file system alone.
EFI_STATUS FakeVolume::GetInfo(const EFI_GUID& type, UINTN* size, VOID* buffer) const {
  if (std::memcmp(&type, &gEfiFileSystemInfoGuid, sizeof(type)) != 0) {
    return EFI_UNSUPPORTED;
  }
  const std::u16string label = u"TVQ";
  const UINTN needed = SIZE_OF_EFI_FILE_SYSTEM_INFO + (label.size() + 1) * sizeof(CHAR16);
  if (*size < needed) {
    *size = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  EFI_FILE_SYSTEM_INFO info = {};
  info.Size = needed;
  info.ReadOnly = mSaysProtected ? TRUE : FALSE;
  std::memcpy(buffer, &info, SIZE_OF_EFI_FILE_SYSTEM_INFO);
  std::memcpy(static_cast<char*>(buffer) + SIZE_OF_EFI_FILE_SYSTEM_INFO, label.c_str(),
              (label.size() + 1) * sizeof(CHAR16));
  *size = needed;
  return EFI_SUCCESS;
}

EFI_STATUS FakeVolume::Read(Handle& handle, UINTN* size, VOID* buffer) {
  const EFI_STATUS status = Begin(FileCall::kRead, handle.path);
  if (status != EFI_SUCCESS) {
    return status;
  }
  if (IsFolder(handle.path)) {
    return ReadFolder(handle, size, buffer);
  }
  const std::string& content = mFiles.at(handle.path);
  *size = std::min<size_t>(*size, content.size() - handle.position);
  std::memcpy(buffer, content.data() + handle.position, *size);
  handle.position += *size;
  return EFI_SUCCESS;
}

void FakeVolume::ListFolder(Handle& handle) const {
  std::vector<std::pair<std::string, UINT64>>& entries = handle.entries;
  entries = {{".", EFI_FILE_DIRECTORY}};
  const std::string prefix = handle.path == "\\" ? handle.path : handle.path + "\\";
  const auto add = [&](const std::string& path, UINT64 attribute) {
    if (path.size() > prefix.size() && path.compare(0, prefix.size(), prefix) == 0 &&
        path.find('\\', prefix.size()) == std::string::npos) {
      entries.emplace_back(path.substr(prefix.size()), attribute);
    }
  };
  for (const std::string& folder : mFolders) {
    add(folder, EFI_FILE_DIRECTORY);
  }
  for (const auto& [path, content] : mFiles) {
    add(path, EFI_FILE_READ_ONLY | EFI_FILE_ARCHIVE);
  }
}

EFI_STATUS FakeVolume::ReadFolder(Handle& handle, UINTN* size, VOID* buffer) const {
  if (handle.position == 0) {
    ListFolder(handle);
  }
  if (handle.position >= handle.entries.size()) {
    *size = 0;
    return EFI_SUCCESS;
  }
  const auto& [name, attribute] = handle.entries[handle.position];
  const UINTN needed = SIZE_OF_EFI_FILE_INFO + (name.size() + 1) * sizeof(CHAR16);
  if (*size < needed) {
    *size = needed;
    return EFI_BUFFER_TOO_SMALL;
  }
  EFI_FILE_INFO info = {};
  info.Size = needed;
  info.Attribute = attribute;
  std::memcpy(buffer, &info, SIZE_OF_EFI_FILE_INFO);
  auto* text = reinterpret_cast<CHAR16*>(static_cast<char*>(buffer) + SIZE_OF_EFI_FILE_INFO);
  for (const char character : name) {
    *text++ = static_cast<unsigned char>(character);
  }
  *text = 0;
  *size = needed;
  handle.position++;
  return EFI_SUCCESS;
}

EFI_STATUS FakeVolume::Write(Handle& handle, UINTN* size, VOID* buffer) {
  if ((handle.mode & EFI_FILE_MODE_WRITE) == 0) {
    return EFI_ACCESS_DENIED;
  }
  // As some firmware does.
  if (*size == 0) {
    return EFI_INVALID_PARAMETER;
  }
  const EFI_STATUS status = Begin(FileCall::kWrite, handle.path);
  if (status != EFI_SUCCESS) {
    return status;
  }
  ++mChanges;
  const bool isCut = mLastCall && mCalls == *mLastCall;
  *size = std::min(isCut ? *size / 2 : *size, mWriteLimit);
  std::string& content = mFiles.at(handle.path);
  content.resize(std::max<size_t>(content.size(), handle.position + *size));
  content.replace(handle.position, *size, static_cast<const char*>(buffer), *size);
  handle.position += *size;
  if (handle.path == mDamaged && !content.empty()) {
    content.back() = static_cast<char>(content.back() ^ 1);
  }
  return EFI_SUCCESS;
}

EFI_STATUS FakeVolume::Flush(const Handle& handle) {
  return (handle.mode & EFI_FILE_MODE_WRITE) == 0 ? EFI_ACCESS_DENIED
                                                  : Begin(FileCall::kFlush, handle.path);
}

// As the standard wants it: a file that could not be deleted is closed all the same.
EFI_STATUS FakeVolume::Delete(const Handle& handle) {
  if ((handle.mode & EFI_FILE_MODE_WRITE) == 0 ||
      Begin(FileCall::kDelete, handle.path) != EFI_SUCCESS) {
    return EFI_WARN_DELETE_FAILURE;
  }
  ++mChanges;
  mFiles.erase(handle.path);
  return EFI_SUCCESS;
}

}  // namespace tvq::test
