/** @file
  What a platform is checked for: groups of small questions, each with a yes or a no.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_TEST_CHECK_H_
#define TVQ_PLATFORM_TEST_CHECK_H_

#include <TvqCpp.h>

namespace tvqtest {

/// For a check that calls no function of the thing that is checked.
inline constexpr UINTN kNoFunction = MAX_UINTN;

struct Check {
  const CHAR8* What;
  UINTN Function;    ///< Where the function that is called stands in the interface, in bytes.
  bool (*Passes)();  ///< Null when it is enough that the function is there.
};

/// Checks of one thing that the platform provides. Unless the thing is there, none of them can be
/// asked.
struct Group {
  const CHAR8* Title;
  VOID* (*Find)();       ///< The thing's interface or table, or null.
  const CHAR8* Missing;  ///< What becomes of the driver without it.
  const CHAR8* Advice;   ///< Where to look when a check fails.
  bool IsOptional;       ///< The driver starts without it.
  tvq::Span<const Check> Checks;
};

// In the order in which a platform has to provide them.
extern const Group kServices;
extern const Group kAux;
extern const Group kLibrary;
extern const Group kTable;
extern const Group kPrerequisite;
extern const Group kDebugLog;
extern const Group kManagement;
extern const Group kXmlParser;
extern const Group kDriver;

/// The first instance of a protocol, or null.
inline VOID* Locate(EFI_GUID& guid) {
  VOID* found = nullptr;
  return EFI_ERROR(gBS->LocateProtocol(&guid, nullptr, &found)) ? nullptr : found;
}

/// Texts are compared without the platform's help.
template <typename Character>
bool IsSame(const Character* left, const Character* right) {
  while (*left != 0 && *left == *right) {
    left++;
    right++;
  }
  return *left == *right;
}

}  // namespace tvqtest

#endif
