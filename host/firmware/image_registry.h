/*
 * The images that are linked into this program.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_
#define TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_

#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

// All linked images; the core is not among them.
const std::vector<const Image*>& LinkedImages();
// The core's own image.
const Image& CoreImage();
// The image behind an owner: the core's or a linked one; nullptr for the host.
const Image* ImageOf(const Owner& owner);

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_IMAGE_REGISTRY_H_
