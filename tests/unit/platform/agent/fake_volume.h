/*
 * A volume with files in memory: what a FAT driver gives the agent.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"

extern "C" {
#include <Protocol/SimpleFileSystem.h>
}

namespace tvq::test {

// Paths are as the agent writes them ("\TVQ\log.txt"). As on FAT, files are found whatever their capitals, a file can only be made in a
// folder that is there, and an open file has to be closed.
class FakeVolume {
 public:
  explicit FakeVolume(host::Firmware& machine);
  ~FakeVolume();
  FakeVolume(const FakeVolume&) = delete;
  FakeVolume& operator=(const FakeVolume&) = delete;

  EFI_HANDLE Device() const { return mDevice; }
  void Put(const std::string& path, const std::string& content) { mFiles[path] = content; }
  void Remove(const std::string& path) { mFiles.erase(path); }
  bool Has(const std::string& path) const { return mFiles.count(path) != 0; }
  std::string Get(const std::string& path) const {
    return Has(path) ? mFiles.at(path) : "(missing)";
  }
  std::vector<std::string> Paths() const;

  // Makes every write to the path fail; with an empty path, every one at all.
  void FailWrites(EFI_STATUS status, const std::string& path = "") {
    mWriteStatus = status;
    mUnwritable = path;
  }
  // Makes every write take no more than this much.
  void LimitWrites(UINTN size) { mWriteLimit = size; }
  // Makes reading the path fail.
  void FailReads(EFI_STATUS status, const std::string& path) {
    mReadStatus = status;
    mUnreadable = path;
  }

  struct Handle;
  EFI_STATUS Open(EFI_FILE_PROTOCOL** opened, const std::string& path, UINT64 mode,
                  UINT64 attributes);
  void Close(Handle* handle);
  EFI_STATUS Read(Handle& handle, UINTN* size, VOID* buffer);
  EFI_STATUS Write(Handle& handle, UINTN* size, VOID* buffer);
  void Delete(const Handle& handle);

 private:
  std::string Spelled(const std::string& path) const;

  host::Firmware& mMachine;
  EFI_HANDLE mDevice = nullptr;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL mFileSystem = {};
  std::map<std::string, std::string> mFiles;
  std::vector<std::string> mFolders;
  std::vector<std::unique_ptr<Handle>> mOpen;
  EFI_STATUS mWriteStatus = EFI_SUCCESS;
  std::string mUnwritable;
  UINTN mWriteLimit = MAX_UINTN;
  EFI_STATUS mReadStatus = EFI_SUCCESS;
  std::string mUnreadable;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_
