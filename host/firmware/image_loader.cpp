/*
 * The image services: loading, starting and unloading images that are linked into this program.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/image_loader.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <Guid/EventGroup.h>
#include <PiDxe.h>
#include <Protocol/FirmwareVolume2.h>
}

#include "host/firmware/host_interface.h"
#include "host/firmware/image_registry.h"
#include "host/firmware/firmware_state.h"

namespace tvq::host {
namespace {

// A firmware file as a device path: how a driver that was dispatched from a firmware volume is
// named.
struct FilePath {
  MEDIA_FW_VOL_FILEPATH_DEVICE_PATH file;
  EFI_DEVICE_PATH_PROTOCOL end;
};

FilePath MakeFilePath(const EFI_GUID& file) {
  FilePath path = {};
  path.file.Header = {MEDIA_DEVICE_PATH, MEDIA_PIWG_FW_FILE_DP, {sizeof(path.file), 0}};
  path.file.FvFileName = file;
  path.end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(path.end), 0}};
  return path;
}

}  // namespace

ImageLoader::LoadedImage* ImageLoader::Find(EFI_HANDLE handle) {
  for (LoadedImage& loaded : mLoaded) {
    if (loaded.handle == handle) {
      return &loaded;
    }
  }
  return nullptr;
}

EFI_HANDLE ImageLoader::HandleOf(const Image& image) const {
  for (const LoadedImage& loaded : mLoaded) {
    if (loaded.image == &image) {
      return loaded.handle;
    }
  }
  return nullptr;
}

bool ImageLoader::IsLoaded(const Image& image) const {
  return std::any_of(mLoaded.begin(), mLoaded.end(),
                     [&](const LoadedImage& loaded) { return loaded.image == &image; });
}

bool ImageLoader::MayCall(const Owner& owner) const {
  return owner == Owner::Host() ||
         std::any_of(mLoaded.begin(), mLoaded.end(),
                     [&](const LoadedImage& loaded) { return Owner(*loaded.image) == owner; });
}

void ImageLoader::SetPcd(const Image& image, std::string_view name, uint64_t value) {
  for (const TVQ_HOST_PCD* pcd = image.Record().Pcds; pcd->Name != nullptr; ++pcd) {
    if (name == pcd->Name) {
      std::memcpy(pcd->Value, &value, pcd->Size);
      mPcdValues.insert({image.Number(), {std::string(name), value}});
      return;
    }
  }
  Die("image '" + image.Name() + "' has no PCD '" + std::string(name) +
      "' that can be set at run time");
}

void ImageLoader::EnableAssertions(const Owner& owner, bool enabled) {
  const Image* const image = ImageOf(owner);
  if (image == nullptr) {
    Die("only images and the core have assertions that can be switched");
  }
  *image->Record().AssertionsEnabled = enabled ? TRUE : FALSE;
  if (enabled) {
    mSilent.erase(owner.Number());
  } else {
    mSilent.insert(owner.Number());
  }
}

// An image that is loaded again starts from its initial data, as one that is read from its file
// again.
void ImageLoader::GiveFreshData(const Image& image) {
  if (std::find(mUsed.begin(), mUsed.end(), &image) == mUsed.end()) {
    mUsed.push_back(&image);
    return;
  }
  image.RestoreData();
  EnableAssertions(image, mSilent.count(image.Number()) == 0);
  const auto [begin, end] = mPcdValues.equal_range(image.Number());
  const std::vector<std::pair<unsigned, PcdValue>> values(begin, end);
  mPcdValues.erase(image.Number());
  for (const auto& [number, pcd] : values) {
    SetPcd(image, pcd.name, pcd.value);
  }
}

// Fills in the image's EFI_LOADED_IMAGE_PROTOCOL; false if the pool has no room for it.
bool ImageLoader::Describe(LoadedImage& loaded) {
  Memory& memory = mState.GetMemory();
  const TvqHostImage& record = loaded.image->Record();
  void* info = nullptr;
  void* path = nullptr;
  memory.Allocate(Owner::Core(), EfiBootServicesData, sizeof(EFI_LOADED_IMAGE_PROTOCOL), &info);
  memory.Allocate(Owner::Core(), EfiBootServicesData, sizeof(FilePath), &path);
  loaded.info = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(info);
  loaded.path = static_cast<EFI_DEVICE_PATH_PROTOCOL*>(path);
  if (info == nullptr || path == nullptr) {
    return false;
  }
  const FilePath filePath = MakeFilePath(record.FileGuid);
  std::memcpy(path, &filePath, sizeof(filePath));
  *loaded.info = {};
  loaded.info->Revision = EFI_LOADED_IMAGE_PROTOCOL_REVISION;
  loaded.info->ParentHandle = gTvqHostCore.ImageHandle();
  loaded.info->SystemTable = mState.Services().TableOf(*loaded.image);
  loaded.info->FilePath = loaded.path;
  // Code and data lie apart in this program; whoever looks at the bounds wants to know whose code
  // an address is.
  loaded.info->ImageBase = record.CodeStart;
  loaded.info->ImageSize = static_cast<UINT64>(record.CodeEnd - record.CodeStart);
  loaded.info->ImageCodeType = EfiBootServicesCode;
  loaded.info->ImageDataType = EfiBootServicesData;
  return true;
}

void ImageLoader::FreeDescription(const LoadedImage& loaded) {
  mState.GetMemory().Free(loaded.info);
  mState.GetMemory().Free(loaded.path);
}

EFI_HANDLE ImageLoader::Load(const Image& image) {
  if (IsLoaded(image)) {
    Die("image '" + image.Name() + "' is loaded already; its globals exist only once");
  }
  GiveFreshData(image);
  LoadedImage loaded = {&image, nullptr, nullptr, nullptr, false};
  const EFI_BOOT_SERVICES& services = mState.bootServices;
  if (!Describe(loaded) || EFI_ERROR(services.InstallMultipleProtocolInterfaces(
                               &loaded.handle, &gEfiLoadedImageProtocolGuid, loaded.info,
                               &gEfiLoadedImageDevicePathProtocolGuid, loaded.path, nullptr))) {
    FreeDescription(loaded);
    return nullptr;
  }
  mLoaded.push_back(loaded);
  return loaded.handle;
}

void ImageLoader::Construct(EFI_HANDLE handle) {
  LoadedImage* const loaded = Find(handle);
  if (loaded == nullptr || loaded->isStarted) {
    Die("ConstructImage wants the handle of a loaded image that was not started");
  }
  loaded->isStarted = true;
  loaded->image->Record().Construct(handle, loaded->info->SystemTable);
}

EFI_STATUS ImageLoader::RunEntryPoint(const LoadedImage& loaded) {
  const EFI_TPL tpl = gTvqHostCore.CurrentTpl();
  const TvqHostImage& record = loaded.image->Record();
  const EFI_STATUS status = record.EntryPoint(loaded.handle, loaded.info->SystemTable);
  if (gTvqHostCore.CurrentTpl() != tpl) {
    mState.reports.AddMisuse("the entry point of image '" + loaded.image->Name() +
                             "' returned at another task priority level");
    mState.bootServices.RestoreTPL(tpl);
  }
  return status;
}

EFI_STATUS ImageLoader::Start(EFI_HANDLE handle) {
  LoadedImage* const found = Find(handle);
  if (found == nullptr || found->isStarted) {
    return EFI_INVALID_PARAMETER;
  }
  found->isStarted = true;
  // A copy: the image may load others.
  const LoadedImage loaded = *found;
  const UINT64 key = gTvqHostCore.HandleDatabaseKey();
  const EFI_STATUS status = RunEntryPoint(loaded);
  const bool isApplication = loaded.image->Record().IsApplication;
  if (!isApplication) {
    gTvqHostCore.ConnectHandlesByKey(key);
  }
  if (EFI_ERROR(status) || isApplication) {
    Remove(handle);
  }
  return status;
}

EFI_STATUS ImageLoader::Unload(EFI_HANDLE handle) {
  const LoadedImage* const loaded = Find(handle);
  if (loaded == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (loaded->isStarted) {
    EFI_IMAGE_UNLOAD unload = loaded->info->Unload;
    const EFI_STATUS status = unload != nullptr ? unload(handle) : EFI_UNSUPPORTED;
    if (EFI_ERROR(status)) {
      return status;
    }
  }
  Remove(handle);
  return EFI_SUCCESS;
}

void ImageLoader::CloseProtocolOpenedBy(EFI_HANDLE agent, EFI_HANDLE handle, EFI_GUID* protocol) {
  const EFI_BOOT_SERVICES& services = mState.bootServices;
  EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* entries = nullptr;
  UINTN count = 0;
  if (EFI_ERROR(services.OpenProtocolInformation(handle, protocol, &entries, &count))) {
    return;
  }
  for (UINTN index = 0; index < count; ++index) {
    if (entries[index].AgentHandle == agent) {
      services.CloseProtocol(handle, protocol, agent, entries[index].ControllerHandle);
    }
  }
  mState.GetMemory().Free(entries);
}

// What the DXE core does for an image that goes: it closes everything that the image has opened.
void ImageLoader::CloseProtocolsOpenedBy(EFI_HANDLE agent) {
  const EFI_BOOT_SERVICES& services = mState.bootServices;
  EFI_HANDLE* handles = nullptr;
  UINTN handleCount = 0;
  if (EFI_ERROR(
          services.LocateHandleBuffer(AllHandles, nullptr, nullptr, &handleCount, &handles))) {
    return;
  }
  for (UINTN index = 0; index < handleCount; ++index) {
    EFI_GUID** protocols = nullptr;
    UINTN protocolCount = 0;
    if (!EFI_ERROR(services.ProtocolsPerHandle(handles[index], &protocols, &protocolCount))) {
      for (UINTN which = 0; which < protocolCount; ++which) {
        CloseProtocolOpenedBy(agent, handles[index], protocols[which]);
      }
      mState.GetMemory().Free(protocols);
    }
  }
  mState.GetMemory().Free(handles);
}

void ImageLoader::Remove(EFI_HANDLE handle) {
  const LoadedImage loaded = *Find(handle);
  const EFI_BOOT_SERVICES& services = mState.bootServices;
  CloseProtocolsOpenedBy(handle);
  services.UninstallProtocolInterface(handle, &gEfiLoadedImageDevicePathProtocolGuid, loaded.path);
  services.UninstallProtocolInterface(handle, &gEfiLoadedImageProtocolGuid, loaded.info);
  mLoaded.erase(std::remove_if(mLoaded.begin(), mLoaded.end(),
                               [&](const LoadedImage& item) { return item.handle == handle; }),
                mLoaded.end());
  FreeDescription(loaded);
}

}  // namespace tvq::host
