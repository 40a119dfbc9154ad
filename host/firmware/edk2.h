/*
 * The EDK II headers for code that runs on the host, included the one way that works there.
 *
 * EDK II headers know nothing of C++ and claim short words (IN, OUT, VOID, MAX, ...) as macros.
 * Include this header instead of them, after <gtest/gtest.h> and every C++ standard header. A
 * protocol header that is not listed here goes inside `extern "C" { }` after it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_EDK2_H_
#define TVQ_HOST_FIRMWARE_EDK2_H_

#ifdef __cplusplus
extern "C" {
#endif

#include <PiDxe.h>

#include <Guid/EventGroup.h>
#include <Guid/GlobalVariable.h>
#include <Guid/SmBios.h>
#include <IndustryStandard/SmBios.h>
#include <Protocol/DevicePath.h>
#include <Protocol/LoadedImage.h>
#include <Protocol/SimpleTextOut.h>

#ifdef __cplusplus
}
#endif

#endif  // TVQ_HOST_FIRMWARE_EDK2_H_
