/** @file
  Structures of an SMBIOS table and their strings.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Library/SmbiosTableLib.h>

namespace tvq::smbios {

namespace {

/// The bytes of a word that are NUL have their highest bit set in the result, up to the first one.
constexpr U64 NulBytes(U64 word) {
  constexpr U64 kOnes = 0x0101010101010101;
  return (word - kOnes) & ~word & (kOnes << 7);
}

/// Which byte of a word the lowest bit is in.
SizeType ByteOfLowestBit(U64 word) {
#if defined(__riscv)
  // The base instruction set cannot count zeros, and what compilers call instead is in no library of EDK II.
  SizeType byte = 0;
  for (; (word & 0xFF) == 0; word >>= 8) {
    byte++;
  }
  return byte;
#else
  return static_cast<SizeType>(__builtin_ctzll(word)) / 8;
#endif
}

/// The first NUL, null when there is none. Eight bytes at a time: most of the time of a walk would
/// go into single ones.
const U8* FindNul(const U8* text, const U8* end) {
  constexpr SizeType kWord = sizeof(U64);
  for (; static_cast<SizeType>(end - text) >= kWord; text += kWord) {
    const U64 nuls = NulBytes(Read64(text));
    if (nuls != 0) {
      return text + ByteOfLowestBit(nuls);
    }
  }
  while (text < end && *text != 0) {
    text++;
  }
  return text < end ? text : nullptr;
}

}  // namespace

Text TextAt(Bytes bytes) {
  const U8* nul = FindNul(bytes.begin(), bytes.end());
  return nul == nullptr ? Text() : Text(bytes.begin(), static_cast<SizeType>(nul - bytes.begin()));
}

bool StringCursor::Next() {
  if (mState == State::kBehindString) {
    if (mNext != mEnd && *mNext == 0) {
      mNext++;
      mState = State::kEnded;
      return false;
    }
  } else if (mState != State::kBegin) {
    return false;
  }
  const U8* nul = FindNul(mNext, mEnd);
  if (nul == nullptr) {
    mState = State::kOutOfBytes;
    return false;
  }
  mCurrent = mNext;
  mNext = nul + 1;
  mState = State::kBehindString;
  return true;
}

namespace {

/// The cursor behind the last string.
StringCursor StepOver(Bytes strings) {
  StringCursor cursor(strings);
  while (cursor.Next()) {
  }
  return cursor;
}

}  // namespace

bool BareStructure::IsComplete() const {
  return StepOver(StringBytes()).IsEnded();
}

Defect BareStructure::FindDefect() const {
  if (Length() < kHeaderSize) {
    return Defect::kShortLength;
  }
  if (Length() > mBytes.Size()) {
    return Defect::kCutFormatted;
  }
  return IsComplete() ? Defect::kNone : Defect::kCutStrings;
}

SizeType BareStructure::StringCount() const {
  SizeType count = 0;
  for ([[maybe_unused]] const Text text : Strings()) {
    count++;
  }
  return count;
}

Text BareStructure::StringOrSize(SizeType number, SizeType& size) const {
  StringCursor strings(StringBytes());
  while (strings.Next()) {
    if (--number == 0) {
      return strings.Current();
    }
  }
  size = Formatted().Size() + strings.End();
  return Text();
}

Bytes BareStructure::CutOffString() const {
  const StringCursor strings = StepOver(StringBytes());
  return strings.IsEnded() ? Bytes() : strings.CutOff();
}

void Walk::Iterator::StepTo(SizeType offset) {
  mCurrent = Structure(mTable, offset);
  if (mReading == Reading::kStrict && mCurrent && !mCurrent.IsWellFormed()) {
    mCurrent = Structure(mTable.First(offset), offset);
  }
}

Summary Summarize(Bytes table, Reading reading) {
  Summary summary;
  for (const Structure& structure : Walk(table, reading)) {
    summary.Count++;
    summary.End = structure.End();
    summary.IsLastComplete = structure.IsComplete();
    if (structure.Size() > summary.LargestSize) {
      summary.LargestSize = structure.Size();
    }
    if (structure.Type() == kEndOfTable && summary.EndOfTableEnd == 0) {
      summary.EndOfTableEnd = summary.End;
    }
  }
  return summary;
}

SizeType CountOfType(Bytes table, U8 type) {
  SizeType count = 0;
  for (const Structure& structure : Walk(table)) {
    count += structure.Type() == type ? 1 : 0;
  }
  return count;
}

}  // namespace tvq::smbios
