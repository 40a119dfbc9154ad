/*
 * A volume with files in memory: what a FAT driver gives the agent.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"

extern "C" {
#include <Protocol/SimpleFileSystem.h>
}

namespace tvq::test {

// What can be asked of a file.
enum class FileCall {
  kOpen,
  kRead,
  kWrite,
  kFlush,
  kDelete
};

// Paths are as the agent writes them ("\TVQ\log.txt"). As on FAT, files are found whatever their capitals, a file can only be made in a
// folder that is there and changed when it was opened for that, and an open file has to be closed.
class FakeVolume {
 public:
  explicit FakeVolume(host::Firmware& machine);
  ~FakeVolume();
  FakeVolume(const FakeVolume&) = delete;
  FakeVolume& operator=(const FakeVolume&) = delete;

  EFI_HANDLE Device() const { return mDevice; }
  // Makes the folders, too, that it is in.
  void Put(const std::string& path, const std::string& content);
  void Remove(const std::string& path) { mFiles.erase(path); }
  // And all that is in it.
  void RemoveFolder(const std::string& path);
  // In these capitals.
  bool Has(const std::string& path) const {
    const auto found = mFiles.find(path);
    return found != mFiles.end() && found->first == path;
  }
  std::string Get(const std::string& path) const {
    return Has(path) ? mFiles.at(path) : "(missing)";
  }
  std::vector<std::string> Paths() const;

  // Makes every such call fail; with a path, those for this file alone.
  void Fail(FileCall call, EFI_STATUS status, const std::string& path = "") {
    mFailures.push_back({call, status, path});
  }
  // Refuses everything that would change it, as a CD does; `isSaid` where the file system says so before.
  void Protect(bool isSaid = true) {
    mIsProtected = true;
    mSaysProtected = isSaid;
  }
  // Says that it takes nothing, and takes it.
  void SayProtected() { mSaysProtected = true; }
  // Calls that wrote, made or removed something.
  uint64_t Changes() const { return mChanges; }
  // Makes every write take no more than this much.
  void LimitWrites(UINTN size) { mWriteLimit = size; }
  // Changes the last byte of whatever is written to the file, as a bad sector does.
  void DamageWrites(const std::string& path) { mDamaged = path; }
  // Takes the volume away during the n-th call from now: of a write, half reaches it.
  void CutPowerDuring(uint64_t call) {
    mCalls = 0;
    mLastCall = call;
  }
  // Brings the volume back as it was left, without the failures that were asked for. True: it was away.
  bool Recover();

  struct Handle;
  EFI_STATUS Open(EFI_FILE_PROTOCOL** opened, const std::string& path, UINT64 mode,
                  UINT64 attributes);
  void Close(Handle* handle);
  EFI_STATUS GetInfo(const EFI_GUID& type, UINTN* size, VOID* buffer) const;
  EFI_STATUS Read(Handle& handle, UINTN* size, VOID* buffer);
  EFI_STATUS Write(Handle& handle, UINTN* size, VOID* buffer);
  EFI_STATUS Flush(const Handle& handle);
  EFI_STATUS Delete(const Handle& handle);

 private:
  struct IgnoresCase {
    bool operator()(const std::string& left, const std::string& right) const;
  };
  struct Failure {
    FileCall call;
    EFI_STATUS status;
    std::string path;
  };

  std::string Spelled(const std::string& path) const;
  bool IsFolder(const std::string& path) const;
  EFI_STATUS Make(const std::string& path, UINT64 attributes);
  // What the folder has now.
  void ListFolder(Handle& handle) const;
  // One entry of a folder, none behind the last one.
  EFI_STATUS ReadFolder(Handle& handle, UINTN* size, VOID* buffer) const;
  // What the call comes to before it does anything.
  EFI_STATUS Begin(FileCall call, const std::string& path);

  host::Firmware& mFirmware;
  EFI_HANDLE mDevice = nullptr;
  EFI_SIMPLE_FILE_SYSTEM_PROTOCOL mFileSystem = {};
  std::map<std::string, std::string, IgnoresCase> mFiles;
  std::vector<std::string> mFolders;
  std::vector<std::unique_ptr<Handle>> mOpen;
  std::vector<Failure> mFailures;
  bool mIsProtected = false;
  bool mSaysProtected = false;
  uint64_t mChanges = 0;
  UINTN mWriteLimit = MAX_UINTN;
  std::string mDamaged;
  uint64_t mCalls = 0;
  std::optional<uint64_t> mLastCall;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_VOLUME_H_
