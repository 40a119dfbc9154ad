/** @file
  A saved state as bytes: one file with a whole snapshot and a checksum over it, so that it is either
  whole or not there. Firmware and Linux share the format. All numbers are little-endian.

  A file of version 2 is a header and sections, each with its type and size in front:

    origin    once   when and by which program, with which options and naming rules
    machine   once   what the machine says of itself
    table     once   the SMBIOS table as the machine published it; missing where it was not kept
    device    each   one device with its blobs
    end       last   the generation once more: a file without it was cut off while it was saved

  Version 1 has devices alone, behind the same header. It is read, and written no more.

  Nobody signs a state: whoever may write the file decides what it says.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_STATE_FORMAT_H_
#define TVQ_PLATFORM_STATES_STATE_FORMAT_H_

#include <TvqCpp.h>

#include "snapshot.h"

namespace tvqplatform {

#pragma pack(1)

struct STATE_HEADER {
  UINT8 Magic[8];     ///< kStateMagic.
  UINT32 Version;     ///< kStateVersion, or 1.
  UINT32 Count;       ///< Of sections; in version 1 of devices.
  UINT64 Generation;  ///< The newer one of two states has the higher one.
  UINT32 BodySize;    ///< Bytes behind the header.
  UINT32 Crc32;       ///< CRC-32 of two CRC-32: the header's, with this field 0, and the body's.
};

struct STATE_SECTION {
  UINT32
  Type;  ///< STATE_SECTION_TYPE; a reader skips one that it does not know if kStateOptional is set.
  UINT32 Size;  ///< Bytes that follow.
};

/// The program's version follows, with its NUL.
struct STATE_ORIGIN {
  UINT64 Time;
  UINT32 Options;      ///< SnapshotOptions.
  UINT32 NamingRules;  ///< kNamingRules of that program.
};

/// Three texts follow, each with its NUL: the serial numbers of system, board and chassis.
struct STATE_MACHINE {
  UINT8 HasUuid;
  UINT8 Uuid[16];
};

/// The structures follow.
struct STATE_TABLE {
  UINT8 Major;
  UINT8 Minor;
  UINT16 StructureCount;
};

/// The FQDD's characters of 16 bits follow, without a terminator, then the blobs.
struct STATE_DEVICE {
  UINT32 ComponentClass;  ///< TVQ_CLASS_*.
  UINT16 Handle;
  UINT8 Why;         ///< WhyNoRecord.
  UINT8 FqddLength;  ///< Characters.
};

/// A device of version 1. The FQDD's characters follow, without a terminator, then the blobs.
struct STATE_DEVICE_1 {
  UINT32 ComponentClass;
  UINT32 FqddLength;  ///< Characters.
  UINT32 DataSize;    ///< Bytes.
};

#pragma pack()

static_assert(sizeof(STATE_HEADER) == 32, "the header is 32 bytes");
static_assert(sizeof(STATE_SECTION) == 8, "a section's header is 8 bytes");
static_assert(sizeof(STATE_ORIGIN) == 16, "an origin is 16 bytes");
static_assert(sizeof(STATE_MACHINE) == 17, "a machine is 17 bytes");
static_assert(sizeof(STATE_TABLE) == 4, "a table's version and count are 4 bytes");
static_assert(sizeof(STATE_DEVICE) == 8, "a device is 8 bytes");
static_assert(sizeof(STATE_DEVICE_1) == 12, "a device of version 1 is 12 bytes");

inline constexpr UINT8 kStateMagic[8] = {'T', 'V', 'Q', 'S', 'T', 'A', 'T', 'E'};
inline constexpr UINT32 kStateVersion = 2;

/// Of a section that readers may skip.
inline constexpr UINT32 kStateOptional = BIT31;

enum STATE_SECTION_TYPE : UINT32 {
  kStateOrigin = 1,
  kStateMachine = 2,
  kStateTable = 3,
  kStateDevice = 4,
  kStateEnd = 5,
};

/// Far more than the largest machine needs.
inline constexpr UINTN kMaximumStateSize = SIZE_16MB;
/// More than a table can describe that the driver reads, and few enough to compare each with each.
inline constexpr UINTN kMaximumStateDevices = 4096;

/// Why a file is no state that can be used.
enum class StateDefect : UINT8 {
  kNone,
  kNoMemory,
  kNoState,
  kNewer,    ///< It has a version or a section that this program does not know.
  kCutOff,   ///< It ends before its end section.
  kDamaged,  ///< The checksum is another one, or the sections are not as they have to be.
};

/// The rest of a sentence about the file: "is no saved state".
const CHAR8* StateDefectText(StateDefect defect);

/// A state that was read.
struct StoredState {
  UINT32 Version = 0;
  UINT64 Generation = 0;
  Snapshot Content;  ///< Refers to the bytes of the file, which have to stay.
};

/// Reads a file, in time that grows with its size alone. The state is empty unless there is no defect.
[[nodiscard]] StateDefect ReadState(Bytes file, StoredState& state);

/// Whether the file ends as a state of this generation does. One that is new and does not was cut off
/// while it was saved, whatever it has in front.
bool EndsAsState(Bytes file, UINT64 generation);

/// The size of the last section. What stands in front of it has to be on the volume before it is
/// written.
inline constexpr UINTN kStateEndSize = sizeof(STATE_SECTION) + sizeof(UINT64);

/// The file of a snapshot.
class EncodedState {
 public:
  EncodedState() = default;
  EncodedState(const EncodedState&) = delete;
  EncodedState& operator=(const EncodedState&) = delete;
  ~EncodedState();

  /// False: there is no memory, and no file.
  [[nodiscard]] bool Write(const Snapshot& snapshot, UINT64 generation, UINT64 time);

  Bytes File() const { return {mFile.Data(), mFile.Size()}; }

 private:
  GrowingArray<UINT8> mFile;
};

}  // namespace tvqplatform

#endif
