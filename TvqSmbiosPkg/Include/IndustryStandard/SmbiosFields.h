/** @file
  Fields of SMBIOS structures by the names that EDK II's headers give them:

    structure.Get(SMBIOS_FIELD(17, Size))                   a UINT16, as the member is
    structure.GetString(SMBIOS_FIELD(17, DeviceLocator))    the string whose number stands there

  Offset and width are the member's own and known when the code is compiled, so that nobody writes
  either down. Nothing here depends on the size of a whole structure, which grows with the headers.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef SMBIOS_FIELDS_H_
#define SMBIOS_FIELDS_H_

extern "C" {
#include <Base.h>
#include <IndustryStandard/SmBios.h>
}

#include <IndustryStandard/SmbiosTvq.h>
#include <Library/SmbiosTableLib.h>

namespace tvq::smbios {

/// The type of a member or of an element of one, which is a reference to the compiler.
template <typename Member>
struct ValueOf {
  using Type = Member;
};
template <typename Member>
struct ValueOf<Member&> {
  using Type = Member;
};

// What the oldest supported headers, those of EDK II 2022.11, do not have yet.

/// Memory device (SMBIOS 7.18), since version 3.7 of the standard.
inline constexpr Field<UINT16> kPmic0ManufacturerId = {17, 0x5C};
inline constexpr Field<UINT16> kPmic0RevisionNumber = {17, 0x5E};
inline constexpr Field<UINT16> kRcdManufacturerId = {17, 0x60};
inline constexpr Field<UINT16> kRcdRevisionNumber = {17, 0x62};

}  // namespace tvq::smbios

/// The member of SMBIOS_TABLE_TYPE<number>: also one of a structure in it, or an element of an array.
#define SMBIOS_FIELD(Number, Member)                                                              \
  (::tvq::smbios::Field<                                                                          \
      ::tvq::smbios::ValueOf<decltype(SMBIOS_TABLE_TYPE##Number::Member)>::Type>{                 \
      Number, OFFSET_OF(SMBIOS_TABLE_TYPE##Number, Member)})

/// The member of a group that repeats in structures of a type: `.In(start)` is that of the group
/// which begins there.
#define SMBIOS_GROUP_FIELD(Number, Group, Member)                                                 \
  (::tvq::smbios::Field<::tvq::smbios::ValueOf<decltype(Group::Member)>::Type>{                   \
      Number, OFFSET_OF(Group, Member)})

#endif
