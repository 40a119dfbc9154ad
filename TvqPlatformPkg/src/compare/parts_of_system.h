/** @file
  Board, chassis and power supplies: parts of the system, by their serial numbers.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_PARTS_OF_SYSTEM_H_
#define TVQ_PLATFORM_COMPARE_PARTS_OF_SYSTEM_H_

#include "../smbios/table.h"
#include "pairs.h"
#include "verdict.h"

namespace tvqplatform {

/// A part with another serial number, or one that is on one side alone.
struct PartChange {
  CHAR8
  Path[40];  ///< "PowerSupply[2]/SerialNumber": the second one of the table. Of a part without
             ///< a number "PowerSupply[2]", which is present or is not.
  Witness Who;
  bool IsReplaced;  ///< Both numbers tell parts from each other.
  bool IsOneSided;  ///< The part was put in or taken out.
  smbios::Text Before;
  smbios::Text After;
};

class PartsOfSystem {
 public:
  /// A number that is on both sides is of the same part, wherever that stands in the table; the
  /// other parts follow one another. False: there is no memory.
  [[nodiscard]] bool Compare(Bytes before, Bytes after);

  const GrowingArray<PartChange>& Changes() const { return mChanges; }

 private:
  struct Part {
    UINT8 Kind;           ///< Its place among the kinds of parts.
    UINT32 Number;        ///< Of its kind in the table, from 1.
    smbios::Text Serial;  ///< As the table has it, placeholders too.
    bool IsToldBySerial;
  };

  [[nodiscard]] static bool Collect(Bytes table, GrowingArray<Part>& parts);
  [[nodiscard]] bool Pair(bool bySerial);
  [[nodiscard]] bool AppendChange(UINT32 before, UINT32 after);

  OwnedArray<Part> mBefore;
  OwnedArray<Part> mAfter;
  Pairs mPairs;
  OwnedArray<PartChange> mChanges;
};

}  // namespace tvqplatform

#endif
