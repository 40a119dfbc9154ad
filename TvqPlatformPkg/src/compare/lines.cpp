/** @file
  A comparison in words.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "lines.h"

#include "../smbios/names/slot_place.h"
#include "../states/holes.h"
#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINTN kTextSize = 400;
/// More than a value of a document has, and more than a device has that was replaced by another make.
/// A state may hold whatever somebody wrote into it.
constexpr UINTN kShownValue = 128;
constexpr UINTN kShownChanges = 64;

/// Puts words into lines. What is longer than a line goes on in the next one.
class Paragraph {
 public:
  /// Lines begin with so many blanks, and those behind the first with four more.
  Paragraph(const LineSink& sink, UINTN indent) : mSink(sink), mIndent(indent) { Begin(indent); }
  ~Paragraph() { End(); }
  Paragraph(const Paragraph&) = delete;
  Paragraph& operator=(const Paragraph&) = delete;

  /// The words are separated by blanks.
  void Add(const CHAR8* text) { Add(text, Length(text)); }
  void Add(const CHAR8* text, UINTN size) {
    for (UINTN start = 0; start < size;) {
      UINTN length = 0;
      while (start + length < size && text[start + length] != ' ') {
        length++;
      }
      AddWord(text + start, length);
      start += length + 1;
    }
  }

 private:
  void Begin(UINTN indent) {
    SetMem(mLine, indent, ' ');
    mLength = indent;
    mIsEmpty = true;
  }
  void End() {
    mLine[mLength] = '\0';
    mSink.Add(mSink.Context, mLine);
  }
  void NextLine() {
    End();
    Begin(mIndent + 4);
  }
  void AddWord(const CHAR8* word, UINTN length) {
    UINTN width = 0;
    for (UINTN i = 0; i < length; i++) {
      width += WidthOf(word[i]);
    }
    if (!mIsEmpty && mLength + 1 + width > kColumns) {
      NextLine();
    }
    if (!mIsEmpty) {
      mLine[mLength++] = ' ';
    }
    mIsEmpty = false;
    for (UINTN i = 0; i < length; i++) {
      AddCharacter(word[i]);
    }
  }
  void AddCharacter(CHAR8 character) {
    if (mLength + WidthOf(character) > kColumns) {
      NextLine();
      mIsEmpty = false;
    }
    if (WidthOf(character) == 1) {
      mLine[mLength++] = character;
    } else {
      mLength += AsciiSPrint(mLine + mLength, sizeof(mLine) - mLength, "\\x%02x",
                             static_cast<UINT32>(static_cast<UINT8>(character)));
    }
  }
  UINTN WidthOf(CHAR8 character) const {
    const auto code = static_cast<UINT8>(character);
    const bool isControl = code < ' ' || (code >= 0x7F && code < 0xA0);
    return isControl || (mSink.IsAscii && code >= 0x7F) ? sizeof("\\x00") - 1 : 1;
  }

  const LineSink& mSink;
  UINTN mIndent;
  CHAR8 mLine[kColumns + 1];
  UINTN mLength = 0;
  bool mIsEmpty = true;
};

/// One device's lines.
class DeviceLines {
 public:
  DeviceLines(const Comparison& comparison, const Finding& finding, const LineSink& sink)
      : mComparison(comparison), mFinding(finding), mSink(sink) {}

  void Write() const {
    WriteTitle();
    WriteReasons();
    WriteLaterRows();
    WriteChanges();
    if (mFinding.What != Verdict::kSame) {
      Paragraph paragraph(mSink, 6);
      paragraph.Add("To do:");
      paragraph.Add(ToDoOf(mComparison, mFinding));
    }
  }

 private:
  void AddName(UINT32 before, UINT32 after, Paragraph& paragraph, const CHAR8* end) const;
  void WriteTitle() const;
  void WriteReasons() const;
  void WriteLaterRows() const;
  void WriteChanges() const;

  const Comparison& mComparison;
  const Finding& mFinding;
  const LineSink& mSink;
};

const CHAR16* FqddIn(const Side& side, UINT32 device) {
  const bool hasOne = device != kNone && side[device].Device != nullptr;
  return hasOne ? side[device].Device->Fqdd : tvq::Ucs2(u"");
}

/// A device without a record may have no name, but the one that it had.
const CHAR16* FqddAt(const Comparison& comparison, UINT32 before, UINT32 after) {
  const CHAR16* const fqdd = FqddIn(comparison.After(), after);
  return fqdd[0] != 0 ? fqdd : FqddIn(comparison.Before(), before);
}

smbios::Text LabelAt(const Comparison& comparison, UINT32 before, UINT32 after) {
  return WithoutOuterBlanks(after == kNone ? comparison.Before().LabelOf(before)
                                           : comparison.After().LabelOf(after));
}

/// A device by its FQDD, or by what it is, with the printed label beside.
void DeviceLines::AddName(UINT32 before, UINT32 after, Paragraph& paragraph,
                          const CHAR8* end) const {
  constexpr UINTN kShownLabel = 48;
  const CHAR16* const fqdd = FqddAt(mComparison, before, after);
  const smbios::Text label = LabelAt(mComparison, before, after);
  CHAR8 text[kTextSize];
  UINTN length = fqdd[0] != 0 ? AsciiSPrint(text, sizeof(text), "%s", fqdd)
                              : AsciiSPrint(text, sizeof(text), "%a", NameOf(mFinding.Kind));
  if (label.Length() != 0) {
    length += AsciiSPrint(text + length, sizeof(text) - length, " (");
    const UINTN shown = MIN(label.Length(), kShownLabel);
    CopyMem(text + length, label.Data(), shown);
    length += shown;
    length += AsciiSPrint(text + length, sizeof(text) - length, ")");
  }
  AsciiSPrint(text + length, sizeof(text) - length, "%a", end);
  paragraph.Add(text);
}

void DeviceLines::WriteTitle() const {
  Paragraph paragraph(mSink, 2);
  AddName(mFinding.Before, mFinding.After, paragraph, ":");
  paragraph.Add(WordsOf(mFinding.What).Name);
  if (mFinding.What == Verdict::kMoved) {
    paragraph.Add("from");
    AddName(mFinding.MovedFrom, kNone, paragraph, "");
  } else if (mFinding.What == Verdict::kChanged) {
    paragraph.Add(mFinding.IsSamePart ? "(the same part)"
                                      : "(nothing says whether it is the same part)");
  }
}

void DeviceLines::WriteReasons() const {
  CHAR8 text[kTextSize];
  FormatObstacle(mComparison, mFinding, text, sizeof(text));
  if (text[0] != '\0') {
    Paragraph paragraph(mSink, 6);
    paragraph.Add(text);
  }
  FormatWitnesses(mFinding, text, sizeof(text));
  if (text[0] != '\0') {
    Paragraph paragraph(mSink, 6);
    paragraph.Add("another part than was here, says");
    paragraph.Add(text);
  }
}

/// What else applies, each in a line.
void DeviceLines::WriteLaterRows() const {
  for (UINTN i = static_cast<UINTN>(mFinding.What) + 1; i < kVerdictCount; i++) {
    const auto row = static_cast<Verdict>(i);
    // Witnesses and fields stand there themselves.
    if (!mFinding.Rows.Has(row) || row == Verdict::kChanged || row == Verdict::kReplaced) {
      continue;
    }
    Paragraph paragraph(mSink, 6);
    paragraph.Add(WordsOf(row).Name);
    if (row == Verdict::kMoved) {
      paragraph.Add("from");
      AddName(mFinding.MovedFrom, kNone, paragraph, "");
    }
  }
}

void DeviceLines::WriteChanges() const {
  const UINTN shown = MIN(mFinding.ChangeCount, kShownChanges);
  for (UINTN i = 0; i < shown; i++) {
    const FieldChange& change = mComparison.Change(mFinding.FirstChange + i);
    Paragraph paragraph(mSink, 6);
    const auto addValue = [&](UINT32 where) {
      const CHAR8* const value = mComparison.TextAt(where);
      const CHAR8* const text = value == nullptr ? "(none)" : value[0] == '\0' ? "(empty)" : value;
      const UINTN length = Length(text);
      paragraph.Add(text, MIN(length, kShownValue));
      if (length > kShownValue) {
        paragraph.Add("...");
      }
    };
    CHAR8 path[kTextSize];
    AsciiSPrint(path, sizeof(path), "%a:", mComparison.TextAt(change.Path));
    paragraph.Add(path);
    addValue(change.Before);
    paragraph.Add("->");
    addValue(change.After);
  }
  if (shown != mFinding.ChangeCount) {
    CHAR8 text[kTextSize];
    AsciiSPrint(text, sizeof(text), "and %d more",
                static_cast<UINT32>(mFinding.ChangeCount - shown));
    Paragraph paragraph(mSink, 6);
    paragraph.Add(text);
  }
}

const CHAR8* InWords(Unreadable why) {
  switch (why) {
    case Unreadable::kNoParser:
      return "the platform has no XML parser";
    case Unreadable::kNoDocument:
      return "it is missing or damaged";
    case Unreadable::kNotWellFormed:
      return "it is not well-formed: one of its texts holds '&', '<' or a control character";
    case Unreadable::kOtherLayout:
      return "it is laid out otherwise";
    case Unreadable::kNoMemory:
      return "there is no memory";
    default:
      return "";
  }
}

void FormatWhy(const Finding& finding, Obstacle why, Unreadable inWords, CHAR8* buffer,
               UINTN size) {
  switch (why) {
    case Obstacle::kNoBlobs:
      AsciiSPrint(buffer, size, "no inventory of it could be made");
      break;
    case Obstacle::kNotSaved:
      AsciiSPrint(buffer, size, "the saved state has no inventory of it");
      break;
    case Obstacle::kNoDriver:
      AsciiSPrint(buffer, size, "without its table, the driver cannot be asked");
      break;
    case Obstacle::kSaved:
      AsciiSPrint(buffer, size, "the saved document cannot be read: %a", InWords(inWords));
      break;
    case Obstacle::kCurrent:
      AsciiSPrint(buffer, size, "the later document cannot be read: %a", InWords(inWords));
      break;
    case Obstacle::kDriverError:
      AsciiSPrint(buffer, size, "the driver says: %r", finding.Status);
      break;
    default:
      buffer[0] = '\0';
      break;
  }
}

/// How a state was made.
const CHAR8* OptionsInWords(UINT32 options) {
  switch (options) {
    case 0:
      return "of the conformed table";
    case kSnapshotAsIs:
      return "of the table as it is";
    case kSnapshotRedacted:
      return "redacted";
    case kSnapshotAsIs | kSnapshotRedacted:
      return "redacted, of the table as it is";
    default:
      return "with options of another version";
  }
}

void WriteText(const LineSink& sink, const CHAR8* text) {
  Paragraph paragraph(sink, 0);
  paragraph.Add(text);
}

/// The devices that changed with the firmware, in one line.
void WriteFirmwareUpdate(const Comparison& comparison, const LineSink& sink) {
  UINTN devices = 0;
  UINTN fields = 0;
  for (UINTN i = 0; i < comparison.Size(); i++) {
    const Finding& finding = comparison[i];
    if (finding.What == Verdict::kChanged && comparison.IsOfFirmwareUpdate(finding)) {
      devices++;
      fields += finding.ChangeCount;
    }
  }
  CHAR8 text[kTextSize];
  const CHAR8* const before = comparison.FirmwareBefore();
  const CHAR8* const after = comparison.FirmwareAfter();
  AsciiSPrint(text, sizeof(text), "Firmware update: %a -> %a; %d fields of %d devices changed",
              before == nullptr ? "(none)" : before, after == nullptr ? "(none)" : after,
              static_cast<UINT32>(fields), static_cast<UINT32>(devices));
  WriteText(sink, text);
  Paragraph paragraph(sink, 2);
  paragraph.Add("To do:");
  paragraph.Add(kAfterFirmwareUpdate);
}

}  // namespace

const CHAR8* NameOf(DeviceKind kind) {
  constexpr const CHAR8* kNames[kDeviceKinds] = {"processor", "memory module", "HBM stack",
                                                 "system"};
  return kNames[static_cast<UINTN>(kind)];
}

const CHAR16* FqddOf(const Comparison& comparison, const Finding& finding) {
  return FqddAt(comparison, finding.Before, finding.After);
}

smbios::Text LabelOf(const Comparison& comparison, const Finding& finding) {
  return LabelAt(comparison, finding.Before, finding.After);
}

bool IsFinding(const Comparison& comparison, const Finding& finding) {
  switch (finding.What) {
    case Verdict::kSame:
    case Verdict::kCannotTell:
      return false;
    case Verdict::kChanged:
      return !comparison.IsOfFirmwareUpdate(finding);
    default:
      return true;
  }
}

const CHAR8* ToDoOf(const Comparison& comparison, const Finding& finding) {
  const bool isOfUpdate =
      finding.What == Verdict::kChanged && comparison.IsOfFirmwareUpdate(finding);
  return isOfUpdate ? kAfterFirmwareUpdate : WordsOf(finding.What).ToDo;
}

void FormatOtherOptions(const Comparison& comparison, CHAR8* buffer, UINTN size) {
  AsciiSPrint(buffer, size, "Not compared: saved %a, and now %a.",
              OptionsInWords(comparison.OptionsBefore()),
              OptionsInWords(comparison.OptionsAfter()));
}

bool IsQuiet(const Comparison& comparison) {
  for (UINTN i = 0; i < comparison.Size(); i++) {
    if (IsFinding(comparison, comparison[i])) {
      return false;
    }
  }
  return !comparison.HasOtherOptions() && !comparison.HasOtherNames() &&
         !comparison.HasOtherFirmware();
}

void FormatObstacle(const Comparison& comparison, const Finding& finding, CHAR8* buffer,
                    UINTN size) {
  if (finding.What == Verdict::kNoRecord) {
    AsciiSPrint(buffer, size, "%a%a", ReasonText(comparison.After()[finding.After].Device->Why),
                finding.WasSoBefore ? "; so it was in the saved state" : "");
    return;
  }
  const bool isAsked = finding.Why == Obstacle::kNone;
  FormatWhy(finding, isAsked ? finding.FieldsWhy : finding.Why,
            isAsked ? finding.FieldsWhyInWords : finding.WhyInWords, buffer, size);
  const UINTN length = Length(buffer);
  if (finding.What == Verdict::kNotVerified && finding.WasSoBefore) {
    AsciiSPrint(buffer + length, size - length, "; so it was in the saved state");
  } else if (!isAsked && finding.IsByNumbers) {
    AsciiSPrint(buffer + length, size - length, "; its numbers decide");
  }
}

void FormatWitnesses(const Finding& finding, CHAR8* buffer, UINTN size) {
  UINTN length = 0;
  buffer[0] = '\0';
  for (UINTN i = 0; i < kWitnessCount; i++) {
    if (finding.IsSaidBy(static_cast<Witness>(i))) {
      length += AsciiSPrint(buffer + length, size - length, "%a%a", length == 0 ? "" : ", ",
                            kWitnessWords[i]);
    }
  }
}

void FormatSummary(const Comparison& comparison, CHAR8* buffer, UINTN size) {
  UINTN length = 0;
  AsciiSPrint(buffer, size, "no device, now or then");
  for (UINTN i = kVerdictCount; i-- != 0;) {
    const UINTN count = comparison.Count(static_cast<Verdict>(i));
    if (count != 0) {
      length += AsciiSPrint(buffer + length, size - length, "%a%d %a", length == 0 ? "" : ", ",
                            static_cast<UINT32>(count), kVerdictWords[i].Name);
    }
  }
}

void WriteFinding(const Comparison& comparison, const Finding& finding, const LineSink& sink) {
  DeviceLines(comparison, finding, sink).Write();
}

void WriteComparison(const Comparison& comparison, Wanted wanted, const LineSink& sink) {
  if (comparison.HasOtherOptions()) {
    CHAR8 text[kTextSize];
    FormatOtherOptions(comparison, text, sizeof(text));
    WriteText(sink, text);
    Paragraph paragraph(sink, 2);
    paragraph.Add("To do:");
    paragraph.Add(kToDoForOtherOptions);
    return;
  }
  if (comparison.HasOtherFirmware()) {
    WriteFirmwareUpdate(comparison, sink);
  }
  if (comparison.HasOtherNames()) {
    WriteText(sink, "Saved under other names: devices are matched by their numbers and places.");
  }
  for (UINTN i = 0; i < comparison.Size(); i++) {
    if (wanted == Wanted::kEverything || IsFinding(comparison, comparison[i])) {
      WriteFinding(comparison, comparison[i], sink);
    }
  }
  CHAR8 text[kTextSize];
  UINTN length = AsciiSPrint(text, sizeof(text), "Summary: ");
  FormatSummary(comparison, text + length, sizeof(text) - length);
  WriteText(sink, text);
}

}  // namespace tvqplatform
