/*
 * The images that are linked into this program, and their writable data as it was before any of
 * their code ran.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/image_registry.h"

#include <cstring>

#include "host/firmware/host_interface.h"
#include "host/firmware/reports.h"

namespace tvq::host {
namespace {

// Copies without being seen by the sanitizers: the data of an image holds the red zones of its
// globals.
void CopyUnchecked(char* to, const char* from, size_t size) {
  asm volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(size) : : "memory");
}

// A function-local static, because images register themselves while statics are still being
// constructed.
std::vector<const Image*>& MutableImages() {
  static std::vector<const Image*> images;
  return images;
}

bool IsCore(const TvqHostImage& record) {
  return &record == gTvqHostCore.Image;
}

unsigned Register(const Image& image) {
  if (IsCore(image.Record())) {
    return Owner::Core().Number();
  }
  std::vector<const Image*>& images = MutableImages();
  const unsigned number = Owner::Host().Number() + 1 + static_cast<unsigned>(images.size());
  if (number >= Owner::kMaxOwners) {
    Die("too many images are linked into this program; raise Owner::kMaxOwners");
  }
  images.push_back(&image);
  return number;
}

}  // namespace

Image::Image(const TvqHostImage& record) : mRecord(record), mNumber(Register(*this)) {
  const size_t size = static_cast<size_t>(record.DataEnd - record.DataStart);
  mInitialData = std::make_unique<char[]>(size);
  CopyUnchecked(mInitialData.get(), record.DataStart, size);
}

std::string Image::Name() const {
  return mRecord.Name;
}

void Image::RestoreData() const {
  CopyUnchecked(mRecord.DataStart, mInitialData.get(),
                static_cast<size_t>(mRecord.DataEnd - mRecord.DataStart));
}

std::string Owner::Name() const {
  const Image* const image = ImageOf(*this);
  return image != nullptr ? image->Name() : "host";
}

const std::vector<const Image*>& LinkedImages() {
  return MutableImages();
}

const Image& CoreImage() {
  static const Image core(*gTvqHostCore.Image);
  return core;
}

const Image* ImageOf(const Owner& owner) {
  if (owner == Owner::Core()) {
    return &CoreImage();
  }
  return owner == Owner::Host() ? nullptr
                                : LinkedImages()[owner.Number() - Owner::Host().Number() - 1];
}

}  // namespace tvq::host
