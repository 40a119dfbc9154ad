/** @file
  The name of a memory slot: at most three characters, from the slot's own texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "slot_name.h"

#include <Library/TvqDeviceLib.h>

#include "characters.h"
#include "slot_place.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Text;

namespace {

/// What is known of a place.
enum Fact : UINT8 {
  kProcessor = 0x01,
  kLetter = 0x02,
  kChannel = 0x04,
  kSlot = 0x08,
  kLetterLast = 0x10,
};

/// A rule applies where exactly these facts are known. In its form, small letters stand for the
/// processor, the letter, the channel and the slot, as one digit each; 'n' for the slot's number as
/// it is printed, and 'w' for it in two digits, counted from 36 on. Others stand for themselves.
struct Rule {
  UINT8 Facts;
  CHAR8 Form[4];
  CHAR8 Name[24];
};

constexpr Rule kRules[] = {
    {kProcessor | kLetter | kSlot, "pls", "processor-letter-slot"},                // P1-DIMMA1
    {kProcessor | kLetter | kSlot | kLetterLast, "psl", "processor-slot-letter"},  // P1-DIMM1A
    {kProcessor | kLetter, "pl", "processor-letter"},                              // CPU0_DIMM_A
    {kProcessor | kChannel | kSlot, "pcs", "processor-channel-slot"},              // CPU0_C0D1
    {kProcessor | kChannel, "pCc", "processor-channel"},                           // CPU0 CHANNEL 1
    {kProcessor | kSlot, "pw", "processor-slot"},                                  // PROC 1 DIMM 12
    {kProcessor, "Pp", "processor"},                                               // CPU1
    {kLetter | kSlot, "ln", "letter-slot"},                                        // DIMM_A10, XMM1
    {kLetter | kSlot | kLetterLast, "nl", "slot-letter"},                          // DIMM-1A
    {kLetter | kChannel | kSlot, "lcs", "letter-channel-slot"},                    // C0_DIMM3
    {kLetter, "l", "letter"},                                                      // DIMM A
    {kChannel | kSlot, "Ccs", "channel-slot"},  // CHANNEL 0 DIMM 1
    {kChannel, "Cc", "channel"},                // CHANNEL 3
    {kSlot, "n", "slot"},                       // DIMM 12
};

constexpr CHAR8 kGiven[] = "given";

UINT8 FactsOf(const SlotPlace& place) {
  return static_cast<UINT8>((place.Processor ? kProcessor : 0) |
                            (place.Letter != '\0' ? kLetter : 0) | (place.Channel ? kChannel : 0) |
                            (place.Slot ? kSlot : 0) | (place.IsLetterLast ? kLetterLast : 0));
}

/// Brings a place to what rules know: a controller or a card stands for what is missing, and what
/// the letter of the channel tells already is left out.
SlotPlace Simplified(SlotPlace place) {
  const bool hasChannel = place.Channel || place.Letter != '\0';
  if (place.Group && FactsOf(place) == 0) {
    place.Slot = place.Group;
  } else if (place.Group && !place.Processor) {
    place.Processor = place.Group;
  } else if (place.Group && !hasChannel) {
    place.Channel = place.Group;
  }
  if (place.Processor && place.Letter == 'C' && place.Channel) {
    place.Letter = '\0';
  }
  return place;
}

/// Writes a name character by character; it is good as long as everything fits.
class NameWriter {
 public:
  explicit NameWriter(CHAR8 (&name)[kSlotNameLength + 1]) : mName(name) {}

  void Put(CHAR8 character) {
    mIsGood &= mLength < kSlotNameLength;
    if (mIsGood) {
      mName[mLength++] = character;
      mName[mLength] = '\0';
    }
  }
  void PutDigit(UINT32 number) {
    mIsGood &= number < kDigits;
    Put(ToDigit(number));
  }
  /// Zeros in front that do not fit are left out.
  void PutPrinted(PrintedNumber number, UINTN room) {
    constexpr UINT32 kPowers[] = {1, 10, 100, 1000};
    UINTN digits = MIN(static_cast<UINTN>(number.Digits), room);
    mIsGood &= number.Value < kPowers[digits];
    while (digits-- != 0) {
      Put(static_cast<CHAR8>('0' + number.Value / kPowers[digits] % 10));
    }
  }
  bool IsGood() const { return mIsGood; }

 private:
  CHAR8 (&mName)[kSlotNameLength + 1];
  UINTN mLength = 0;
  bool mIsGood = true;
};

bool Write(const Rule& rule, const SlotPlace& place, CHAR8 (&name)[kSlotNameLength + 1]) {
  NameWriter writer(name);
  const UINTN others = AsciiStrLen(rule.Form) - 1;
  for (const CHAR8* form = rule.Form; *form != '\0'; form++) {
    switch (*form) {
      case 'p':
        writer.PutDigit(place.Processor.Value);
        break;
      case 'l':
        writer.Put(place.Letter);
        break;
      case 'c':
        writer.PutDigit(place.Channel.Value);
        break;
      case 's':
        writer.PutDigit(place.Slot.Value);
        break;
      case 'n':
        writer.PutPrinted(place.Slot, kSlotNameLength - others);
        break;
      case 'w':
        writer.PutDigit(place.Slot.Value / kDigits + 1);
        writer.PutDigit(place.Slot.Value % kDigits);
        break;
      default:
        writer.Put(*form);
        break;
    }
  }
  return writer.IsGood();
}

SlotName NameOf(const SlotPlace& place) {
  SlotName name;
  const UINT8 facts = FactsOf(place);
  for (const Rule& rule : kRules) {
    if (rule.Facts == facts && Write(rule, place, name.Text)) {
      name.Rule = rule.Name;
      return name;
    }
  }
  return SlotName();
}

bool HasPrefix(Text text) {
  return text.Length() >= devices::kLocatorPrefixLength &&
         CompareMem(text.Data(), devices::kLocatorPrefix, devices::kLocatorPrefixLength) == 0;
}

/// What stands behind "DIMM_" at the start of the text, or the text.
Text WithoutPrefix(Text text) {
  constexpr UINTN kLength = devices::kLocatorPrefixLength;
  return HasPrefix(text) ? Text(text.Data() + kLength, text.Length() - kLength) : text;
}

/// A text that is a name already. One of digits alone is a number, which the bank may add to, unless
/// it takes all three characters.
bool IsGiven(Text locator) {
  const Text name = WithoutPrefix(locator);
  UINTN letters = 0;
  for (const UINT8 character : name) {
    if (!IsLetterOrDigit(character) || character != ToCapital(character)) {
      return false;
    }
    letters += IsLetter(character) ? 1 : 0;
  }
  const UINTN length = name.Length();
  return length <= kSlotNameLength &&
         (letters == 0 ? length == kSlotNameLength
                       : length >= 2 && (HasPrefix(locator) || letters < length));
}

/// Whether the text says nothing: there is none, or one of those that stand for none.
bool SaysNothing(Text text) {
  for (const UINT8 character : text) {
    if (IsDigit(character)) {
      return false;
    }
  }
  return devices::IsPlaceholder(text);
}

SlotPlace PlaceOf(Text text) {
  return SaysNothing(text) ? SlotPlace() : ReadSlotPlace(text);
}

/// In the text of a bank a P alone is a processor's: "/SYS/MB/P0".
SlotPlace PlaceOfBank(Text bank) {
  SlotPlace place = PlaceOf(bank);
  if (place.Letter == 'P' && place.Slot && !place.Processor) {
    place.Processor = place.Slot;
    place.Slot = PrintedNumber();
    place.Letter = '\0';
  }
  return Simplified(place);
}

/// Whether the locator leaves open where the number counts.
bool IsBare(const SlotPlace& place) {
  const bool hasChannel = place.Letter != '\0' || place.Channel;
  return place.Slot ? !place.Processor && !hasChannel && place.Slot.Digits < kSlotNameLength
                    : !(place.Processor && hasChannel);
}

/// Adds what the bank knows and the locator does not say.
SlotPlace Completed(SlotPlace place, const SlotPlace& bank) {
  const bool hasChannel = place.Letter != '\0' || place.Channel;
  if (!place.Processor) {
    place.Processor = bank.Processor;
  }
  if (!hasChannel) {
    place.Letter = bank.Letter;
    place.Channel = bank.Letter != '\0' ? PrintedNumber() : bank.Channel;
  }
  if (!place.Slot && !hasChannel) {
    place.Slot = bank.Slot ? bank.Slot : bank.Bank;
  }
  return place;
}

SlotPlace PlaceOfLocator(Text locator) {
  SlotPlace place = PlaceOf(locator);
  if (!place.Slot && place.Bank) {
    place.Slot = place.Bank;
  } else if (!place.Slot && place.Other) {
    place.Slot = place.Other;
    if (place.Letter == '\0') {
      place.Letter = place.OtherInitial;
    }
  }
  return Simplified(place);
}

/// "D0" in "/SYS/MB/P0": the bank is a path, and its end a number behind a D for DIMM.
bool IsEndOfPath(const SlotTexts& texts, const SlotPlace& place) {
  return texts.Bank.Length() != 0 && texts.Bank[0] == '/' && place.Letter == 'D' &&
         FactsOf(place) == (kLetter | kSlot);
}

bool IsComputed(Text name) {
  return name.Length() == kSlotNameLength && (name[0] == '-' || name[0] == '_') &&
         IsLetterOrDigit(name[1]) && name[1] == ToCapital(name[1]) && IsLetterOrDigit(name[2]) &&
         name[2] == ToCapital(name[2]);
}

bool AreEqual(Text left, Text right) {
  return left.Length() == right.Length() &&
         (left.Length() == 0 || CompareMem(left.Data(), right.Data(), left.Length()) == 0);
}

/// 32-bit FNV-1a, the terminator included.
UINT32 Hash(UINT32 hash, Text text) {
  constexpr UINT32 kPrime = 0x01000193;
  for (const UINT8 character : text) {
    hash = (hash ^ character) * kPrime;
  }
  return hash * kPrime;
}

}  // namespace

bool operator==(const SlotTexts& left, const SlotTexts& right) {
  return AreEqual(left.Locator, right.Locator) && AreEqual(left.Bank, right.Bank);
}

SlotName NameByRule(const SlotTexts& texts) {
  if (HasComputedName(texts)) {
    return SlotName();
  }
  SlotPlace place = PlaceOfLocator(texts.Locator);
  if (IsEndOfPath(texts, place)) {
    place.Processor = PlaceOfBank(texts.Bank).Processor;
    return NameOf(place);
  }
  if (IsGiven(texts.Locator)) {
    const Text given = WithoutPrefix(texts.Locator);
    SlotName name;
    CopyMem(name.Text, given.Data(), given.Length());
    name.Rule = kGiven;
    return name;
  }
  return NameOf(IsBare(place) ? Completed(place, PlaceOfBank(texts.Bank)) : place);
}

void PrintComputedName(UINT32 index, CHAR8 (&name)[kSlotNameLength + 1]) {
  name[0] = index < kComputedNames / 2 ? '-' : '_';
  name[1] = ToDigit(index / kDigits % kDigits);
  name[2] = ToDigit(index % kDigits);
  name[3] = '\0';
}

bool HasComputedName(const SlotTexts& texts) {
  return IsComputed(WithoutPrefix(texts.Locator));
}

UINT32 FirstComputedName(const SlotTexts& texts) {
  if (HasComputedName(texts)) {
    const Text name = WithoutPrefix(texts.Locator);
    return (name[0] == '-' ? 0 : kComputedNames / 2) + FromDigit(name[1]) * kDigits +
           FromDigit(name[2]);
  }
  constexpr UINT32 kStart = 0x811C9DC5;
  return Hash(Hash(kStart, texts.Locator), texts.Bank) % kComputedNames;
}

}  // namespace tvqplatform
