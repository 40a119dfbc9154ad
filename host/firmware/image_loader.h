/*
 * The image services: loading, starting and unloading images that are linked into this program.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_IMAGE_LOADER_H_
#define TVQ_HOST_FIRMWARE_IMAGE_LOADER_H_

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

class ImageLoader {
 public:
  explicit ImageLoader(FirmwareState& state) : mState(state) {}
  ImageLoader(const ImageLoader&) = delete;
  ImageLoader& operator=(const ImageLoader&) = delete;

  EFI_HANDLE Load(const Image& image);
  EFI_STATUS Start(EFI_HANDLE handle);
  void Construct(EFI_HANDLE handle);
  EFI_STATUS Unload(EFI_HANDLE handle);

  EFI_HANDLE HandleOf(const Image& image) const;
  // Whether this owner's code can be running: the host's, or that of a loaded image.
  bool MayCall(const Owner& owner) const;
  void EnableAssertions(const Owner& owner, bool enabled);
  void SetPcd(const Image& image, std::string_view name, uint64_t value);

 private:
  struct LoadedImage {
    const Image* image;
    EFI_HANDLE handle;
    // In the pool, so that nobody keeps it longer than the image.
    EFI_LOADED_IMAGE_PROTOCOL* info;
    EFI_DEVICE_PATH_PROTOCOL* path;
    bool isStarted;
  };
  struct PcdValue {
    std::string name;
    uint64_t value;
  };

  LoadedImage* Find(EFI_HANDLE handle);
  bool IsLoaded(const Image& image) const;
  void GiveFreshData(const Image& image);
  bool Describe(LoadedImage& loaded);
  EFI_STATUS RunEntryPoint(const LoadedImage& loaded);
  void CloseProtocolsOpenedBy(EFI_HANDLE agent);
  void CloseProtocolOpenedBy(EFI_HANDLE agent, EFI_HANDLE handle, EFI_GUID* protocol);
  void Remove(EFI_HANDLE handle);
  void FreeDescription(const LoadedImage& loaded);

  FirmwareState& mState;
  std::vector<LoadedImage> mLoaded;
  std::vector<const Image*> mUsed;
  std::multimap<unsigned, PcdValue> mPcdValues;
  // Images whose assertions are switched off.
  std::set<unsigned> mSilent;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_IMAGE_LOADER_H_
