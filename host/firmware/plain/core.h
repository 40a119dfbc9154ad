/*
 * Included before each file of EDK II's core: what the plain firmware has in place of the core's own.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_PLAIN_CORE_H_
#define TVQ_HOST_FIRMWARE_PLAIN_CORE_H_

#include <Uefi.h>

// Weak, so that the linker takes the definition in core.c.
EFI_STATUS CoreValidateHandle(IN EFI_HANDLE UserHandle) __attribute__((weak));

#endif  // TVQ_HOST_FIRMWARE_PLAIN_CORE_H_
