/*
 * The images that are linked into this program.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_
#define TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_

#include <string_view>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

// All linked images; the core is not among them.
const std::vector<const Image*>& LinkedImages();
// The core's own image.
const Image& CoreImage();
// The number under which an image of this name owns blocks and calls services.
unsigned OwnerNumberOf(std::string_view imageName);

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_
