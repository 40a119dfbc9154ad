/** @file
  What the texts of a memory slot say about its place.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "slot_place.h"

#include "characters.h"

namespace tvqplatform {

using smbios::Text;

namespace {

/// What a number or a letter behind a word counts.
enum class Role : UINT8 {
  kNone,  ///< There is no word in front.
  kUnknown,
  kProcessor,
  kNode,
  kGroup,
  kChannel,
  kSlot,
  kBank,
  kModuleType,  ///< "DDR4": the number is a part of the word.
  kLetter,      ///< A letter alone.
  kConnector,   ///< "J12", which the board has printed besides.
};

struct Word {
  CHAR8 Spelling[12];
  Role Meaning;
};

constexpr Word kWords[] = {
    {"CPU", Role::kProcessor},  {"PROC", Role::kProcessor},   {"PROCESSOR", Role::kProcessor},
    {"SKT", Role::kProcessor},  {"SOCKET", Role::kProcessor}, {"NODE", Role::kNode},
    {"BOARD", Role::kGroup},    {"CARD", Role::kGroup},       {"CARTRIDGE", Role::kGroup},
    {"IMC", Role::kGroup},      {"CONTROLLER", Role::kGroup}, {"MC", Role::kGroup},
    {"MEM", Role::kGroup},      {"MEMCARD", Role::kGroup},    {"MEMORY", Role::kGroup},
    {"RISER", Role::kGroup},    {"UMC", Role::kGroup},        {"CH", Role::kChannel},
    {"CHAN", Role::kChannel},   {"CHANNEL", Role::kChannel},  {"DIM", Role::kSlot},
    {"DIMM", Role::kSlot},      {"MODULE", Role::kSlot},      {"RAM", Role::kSlot},
    {"SLOT", Role::kSlot},      {"SODIMM", Role::kSlot},      {"BANK", Role::kBank},
    {"DDR", Role::kModuleType}, {"LPDDR", Role::kModuleType},
};

/// How many of the first characters of the text spell the word; 0 when it begins otherwise.
UINTN Match(Text text, const CHAR8* word) {
  UINTN length = 0;
  while (word[length] != '\0') {
    if (length == text.Length() || ToCapital(text[length]) != static_cast<UINT8>(word[length])) {
      return 0;
    }
    length++;
  }
  return length;
}

/// The longest word that the text begins with; 0 and no role where it begins with none.
UINTN MatchLongest(Text text, Role& meaning) {
  UINTN longest = 0;
  for (const Word& word : kWords) {
    const UINTN length = Match(text, word.Spelling);
    if (length > longest) {
      longest = length;
      meaning = word.Meaning;
    }
  }
  return longest;
}

Text From(Text text, UINTN start) {
  return Text(text.Data() + start, text.Length() - start);
}

/// A word or a letter, and the number behind it. Of a word that is not known, the first letter.
struct Item {
  Role Meaning = Role::kNone;
  CHAR8 Letter = '\0';
  PrintedNumber Number;

  bool Is(CHAR8 letter) const { return Meaning == Role::kLetter && Letter == letter && Number; }
  bool NumbersSlot() const { return Number && (Meaning == Role::kSlot || Meaning == Role::kNone); }
};

/// The items of a text, in their order. A place needs no more than these.
class Items {
 public:
  explicit Items(Text text) {
    while (text.Length() != 0) {
      text = From(text, IsLetter(text[0])  ? TakeLetters(text)
                        : IsDigit(text[0]) ? TakeNumber(text)
                                           : 1);
    }
  }

  Item* begin() { return mItems; }
  Item* end() { return mItems + mSize; }
  const Item* begin() const { return mItems; }
  const Item* end() const { return mItems + mSize; }

 private:
  void Add(Role meaning, CHAR8 letter = '\0') {
    if (mSize < ARRAY_SIZE(mItems)) {
      mItems[mSize].Meaning = meaning;
      mItems[mSize].Letter = letter;
      mSize++;
    }
  }

  /// Takes the letters that the text begins with: words that stand one behind the other, and
  /// perhaps a letter behind them, or a word that is not known.
  UINTN TakeLetters(Text text) {
    UINTN length = 1;
    while (length < text.Length() && IsLetter(text[length])) {
      length++;
    }
    const UINTN before = mSize;
    const Text letters(text.Data(), length);
    for (Text rest = letters; rest.Length() != 0;) {
      Role meaning = Role::kUnknown;
      const UINTN known = MatchLongest(rest, meaning);
      if (known != 0) {
        Add(meaning);
        rest = From(rest, known);
      } else if (rest.Length() == 1) {
        Add(Role::kLetter, static_cast<CHAR8>(ToCapital(rest[0])));
        break;
      } else {
        mSize = before;
        Add(Role::kUnknown, static_cast<CHAR8>(ToCapital(letters[0])));
        break;
      }
    }
    return length;
  }

  UINTN TakeNumber(Text text) {
    PrintedNumber number;
    UINTN length = 0;
    for (; length < text.Length() && IsDigit(text[length]); length++) {
      number.Value = MIN(number.Value * 10 + (text[length] - '0'), 0xFFFFFU);
      number.Digits = static_cast<UINT8>(MIN(length + 1, static_cast<UINTN>(MAX_UINT8)));
    }
    if (mSize == 0 || mItems[mSize - 1].Number) {
      Add(Role::kNone);
    }
    if (!mItems[mSize - 1].Number) {
      mItems[mSize - 1].Number = number;
    }
    return length;
  }

  Item mItems[12] = {};
  UINTN mSize = 0;
};

/// Makes a place of the items of a text.
class PlaceReader {
 public:
  explicit PlaceReader(Text text) : mItems(text) {}

  SlotPlace Read() {
    FindProcessorLetter();
    FindChannelAndSlotLetters();
    FindChannelLetter();
    for (const Item& item : mItems) {
      TakeNumberOf(item);
    }
    if (!mPlace.Processor) {
      mPlace.Processor = mNode;
    }
    if (!mPlace.Other) {
      mPlace.Other = mConnector;
    }
    if (mChannelLetter != nullptr) {
      TakeChannelLetter();
    }
    return mPlace;
  }

 private:
  bool SaysMoreBehind(const Item& at) const {
    for (const Item* item = &at + 1; item != mItems.end(); item++) {
      if (item->Number || item->Meaning == Role::kLetter) {
        return true;
      }
    }
    return false;
  }

  /// "P1-DIMMA1": the first P with a number is a processor's, if the slot is named behind it.
  void FindProcessorLetter() {
    for (Item& item : mItems) {
      if (item.Is('P')) {
        item.Meaning = SaysMoreBehind(item) ? Role::kProcessor : Role::kLetter;
        return;
      }
    }
  }

  /// "CPU0_C0D1" and "S0C0D1": of letters in this order, each says what its number counts.
  void FindChannelAndSlotLetters() {
    Item* beforeLast = nullptr;
    Item* last = nullptr;
    for (Item& item : mItems) {
      if (item.Is('D') && last != nullptr && last->Is('C')) {
        item.Meaning = Role::kSlot;
        last->Meaning = Role::kChannel;
        if (beforeLast != nullptr && (beforeLast->Is('S') || beforeLast->Is('N'))) {
          beforeLast->Meaning = Role::kNode;
        }
        return;
      }
      beforeLast = last;
      last = &item;
    }
  }

  /// The last letter is the channel's, but a J that follows another letter or a slot's number is
  /// that of the connector.
  void FindChannelLetter() {
    bool isNumbered = false;
    for (Item& item : mItems) {
      if (item.Is('J') && (mChannelLetter != nullptr || isNumbered)) {
        item.Meaning = Role::kConnector;
      } else if (item.Meaning == Role::kLetter) {
        mChannelLetter = &item;
      }
      isNumbered |= item.NumbersSlot();
    }
  }

  static void TakeFirst(PrintedNumber& target, PrintedNumber number) {
    if (!target) {
      target = number;
    }
  }

  void TakeNumberOf(const Item& item) {
    if (!item.Number) {
      return;
    }
    switch (item.Meaning) {
      case Role::kProcessor:
        TakeFirst(mPlace.Processor, item.Number);
        break;
      case Role::kNode:
        TakeFirst(mNode, item.Number);
        break;
      case Role::kGroup:
        TakeFirst(mPlace.Group, item.Number);
        break;
      case Role::kChannel:
        TakeFirst(mPlace.Channel, item.Number);
        break;
      case Role::kSlot:
      case Role::kNone:
        TakeFirst(mPlace.Slot, item.Number);
        break;
      case Role::kBank:
        TakeFirst(mPlace.Bank, item.Number);
        break;
      case Role::kUnknown:
        if (!mPlace.Other) {
          mPlace.Other = item.Number;
          mPlace.OtherInitial = item.Letter;
        }
        break;
      case Role::kConnector:
        TakeFirst(mConnector, item.Number);
        break;
      case Role::kModuleType:
      case Role::kLetter:
        break;
    }
  }

  /// The number behind the letter is the slot's, unless another one is: "C0_DIMM3".
  void TakeChannelLetter() {
    const PrintedNumber number = mChannelLetter->Number;
    mPlace.Letter = mChannelLetter->Letter;
    if (number && IsNumberedByWord()) {
      mPlace.Channel = number;
    } else if (number) {
      mPlace.Slot = number;
    } else {
      mPlace.IsLetterLast = IsNumberedBefore(mChannelLetter);
    }
  }

  bool IsNumberedByWord() const { return IsNumberedBefore(mItems.end()); }
  bool IsNumberedBefore(const Item* end) const {
    for (const Item* item = mItems.begin(); item != end; item++) {
      if (item->NumbersSlot()) {
        return true;
      }
    }
    return false;
  }

  Items mItems;
  SlotPlace mPlace;
  PrintedNumber mNode;
  PrintedNumber mConnector;
  const Item* mChannelLetter = nullptr;
};

/// What stands in front of a parenthesis, if a number does: "NODE 0 CHANNEL 0 DIMM 0 (C0A0)".
Text WithoutParenthesis(Text text) {
  bool isNumbered = false;
  for (UINTN i = 0; i < text.Length(); i++) {
    if (text[i] == '(' && isNumbered) {
      return Text(text.Data(), i);
    }
    isNumbered |= IsDigit(text[i]);
  }
  return text;
}

}  // namespace

SlotPlace ReadSlotPlace(Text text) {
  return PlaceReader(WithoutParenthesis(text)).Read();
}

Text WithoutOuterBlanks(Text text) {
  UINTN start = 0;
  UINTN end = text.Length();
  while (start < end && text[start] <= ' ') {
    start++;
  }
  while (start < end && text[end - 1] <= ' ') {
    end--;
  }
  return text ? Text(text.Data() + start, end - start) : Text();
}

}  // namespace tvqplatform
