/** @file
  Draws the view.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "view.h"

namespace tvqplatform {

namespace {

/// Widest columns of the inventory, and what stands in front of the first one: which device is
/// chosen, and whether somebody has to look at it.
constexpr UINTN kMostOfLabel = 22;
constexpr UINTN kMostOfFqdd = 22;
constexpr UINTN kMarks = 3;
constexpr UINTN kGap = 2;

const CHAR8* OrDash(const CHAR8* text) {
  return text == nullptr || text[0] == '\0' ? "-" : text;
}

/// The columns of the inventory: as wide as their texts, within bounds.
struct Columns {
  UINTN Label = sizeof("Label") - 1;
  UINTN Fqdd = sizeof("FQDD") - 1;
  UINTN Verdict = 0;  ///< None where nothing was compared.
  UINTN Serial = sizeof("Serial") - 1;

  explicit Columns(const ScreenContent& content) {
    for (const ShownDevice& device : content.Devices) {
      Label = MIN(MAX(Label, Length(OrDash(device.Label))), kMostOfLabel);
      Fqdd = MIN(MAX(Fqdd, Length(OrDash(device.Fqdd))), kMostOfFqdd);
      Serial = MAX(Serial, Length(OrDash(device.Serial)));
      if (device.Verdict != nullptr) {
        Verdict = MAX(MAX(Verdict, sizeof("Verdict") - 1), Length(device.Verdict));
      }
    }
  }
};

/// Puts one row together, column by column.
class RowWriter {
 public:
  RowWriter(Picture& picture, UINTN row, UINTN column)
      : mPicture(picture), mRow(row), mColumn(column) {}

  /// A text that was cut ends in '~'.
  void Add(const CHAR8* text, UINTN width) {
    if (width == 0) {
      return;
    }
    const UINTN length = Length(text);
    mPicture.Put(mRow, mColumn, text, MIN(length, width));
    if (length > width) {
      mPicture.Put(mRow, mColumn + width - 1, "~");
    }
    mColumn += width + kGap;
  }
  /// What is left of the row.
  void AddLast(const CHAR8* text) {
    if (mColumn < mPicture.Width()) {
      Add(text, mPicture.Width() - mColumn);
    }
  }

 private:
  Picture& mPicture;
  UINTN mRow;
  UINTN mColumn;
};

void DrawHeading(const Columns& columns, UINTN row, Picture& picture) {
  RowWriter writer(picture, row, kMarks);
  writer.Add("Label", columns.Label);
  writer.Add("FQDD", columns.Fqdd);
  writer.Add("Verdict", columns.Verdict);
  writer.Add("Serial", columns.Serial);
  writer.AddLast("Name");
  picture.SetStyle(row, Style::kHeading);
}

void DrawDevice(const ShownDevice& device, bool isChosen, const Columns& columns, UINTN row,
                Picture& picture) {
  picture.Put(row, 0, isChosen ? ">" : " ");
  picture.Put(row, 1, device.IsFinding ? "!" : " ");
  RowWriter writer(picture, row, kMarks);
  writer.Add(OrDash(device.Label), columns.Label);
  writer.Add(OrDash(device.Fqdd), columns.Fqdd);
  writer.Add(OrDash(device.Verdict), columns.Verdict);
  writer.Add(OrDash(device.Serial), columns.Serial);
  writer.AddLast(device.Name[0] == '\0' ? device.Class : device.Name);
  picture.SetStyle(row, isChosen           ? Style::kChosen
                        : device.IsFinding ? Style::kAttention
                                           : Style::kPlain);
}

/// One picture of a view.
class Drawing {
 public:
  Drawing(const ScreenContent& content, const Pages& pages, const View& view, Picture& picture)
      : mContent(content), mPages(pages), mView(view), mPicture(picture), mColumns(content) {}

  void DrawTitle() {
    CHAR8 text[32];
    const UINTN length =
        AsciiSPrint(text, sizeof(text), "page %d of %d ", static_cast<UINT32>(mView.Page + 1),
                    static_cast<UINT32>(mPages.Count()));
    const UINTN column = mPicture.Width() - length;
    RowWriter(mPicture, 0, 1).Add(mContent.Title, column - 2);
    mPicture.Put(0, column, text);
    mPicture.SetStyle(0, Style::kBar);
  }

  void DrawBody() {
    for (UINTN i = 0; i < mPages.RowsPerPage(); i++) {
      const PageRow* row = mPages.Row(mView.Page, i);
      if (row != nullptr) {
        DrawRow(*row, i + 1);
      }
    }
  }

  /// The question, the message or the countdown.
  void DrawMessage() {
    const UINTN row = mPages.RowsPerPage() + 1;
    CHAR8 text[160];
    mPicture.SetStyle(row, Style::kAttention);
    if (mView.Asked != Question::kNone) {
      FormatQuestion(text, sizeof(text));
    } else if (mView.Message[0] != '\0') {
      AsciiSPrint(text, sizeof(text), "%a", mView.Message);
      mPicture.SetStyle(row, mView.MessageStyle);
    } else if (mView.SecondsLeft != 0) {
      AsciiSPrint(text, sizeof(text), "Goes on by itself in %d s; any key stops that.",
                  mView.SecondsLeft);
    } else {
      return;
    }
    mPicture.Put(row, 1, text);
  }

  void DrawKeys();

 private:
  void DrawRow(const PageRow& row, UINTN at) {
    switch (row.What) {
      case PageRow::Kind::kBlank:
        break;
      case PageRow::Kind::kColumns:
        DrawHeading(mColumns, at, mPicture);
        break;
      case PageRow::Kind::kDevice:
        DrawDevice(mContent.Devices[row.Line], row.Line == mView.Chosen, mColumns, at, mPicture);
        break;
      case PageRow::Kind::kSummary:
        DrawText(mContent.Summary[row.Line], row, at);
        break;
      case PageRow::Kind::kReport:
        DrawText(mContent.Report[row.Line], row, at);
        break;
      case PageRow::Kind::kDetail:
        DrawText(mContent.Details[row.Line], row, at);
        break;
    }
  }
  void DrawText(const StyledLine& line, const PageRow& row, UINTN at) {
    mPicture.Put(at, row.Indent, line.Text + row.Start, row.Length);
    mPicture.SetStyle(at, line.How);
  }

  void FormatQuestion(CHAR8* text, UINTN size) const {
    switch (mView.Asked) {
      case Question::kAcceptAll:
        AsciiSPrint(text, size, "Save this boot's state, with all that changed?");
        break;
      case Question::kAcceptOne: {
        const ShownDevice& device = mContent.Devices[mView.Chosen];
        AsciiSPrint(text, size, "Accept %a as it is now?",
                    device.Fqdd[0] != '\0' ? device.Fqdd : OrDash(device.Label));
        break;
      }
      default:
        AsciiSPrint(text, size, "Switch the machine off?");
        break;
    }
    const UINTN length = Length(text);
    AsciiSPrint(text + length, size - length, "  Y: yes; any other key: no");
  }

  const ScreenContent& mContent;
  const Pages& mPages;
  const View& mView;
  Picture& mPicture;
  const Columns mColumns;
};

/// Those that do something now, in the last row, or on narrow screens in the last two. These begin in
/// the first column, as the smallest screen needs every one.
void Drawing::DrawKeys() {
  const UINTN first = mPages.RowsPerPage() + 2;
  for (UINTN row = first; row < mPicture.Rows(); row++) {
    mPicture.SetStyle(row, Style::kBar);
  }
  const UINTN left = first + 1 < mPicture.Rows() ? 0 : 1;
  UINTN row = first;
  UINTN column = left;
  const auto add = [&](bool applies, const CHAR8* key) {
    const UINTN length = Length(key);
    if (!applies) {
      return;
    }
    if (column + length > mPicture.Width()) {
      row++;
      column = left;
    }
    mPicture.Put(row, column, key);
    column += length + 1;
  };
  const bool hasDevices = !mContent.Devices.Empty();
  add(mPages.Count() > 1, "N:Next");
  add(mPages.Count() > 1, "B:Back");
  add(hasDevices && !mView.HasDetails, "D:Details");
  add(mContent.CanAccept, "A:Accept all");
  add(mContent.CanAccept && hasDevices, "O:Accept one");
  add(mContent.CanSave, "S:Save");
  add(true, "P:Power off");
  add(true, mView.HasDetails ? "Q:Back to the list" : "Q:Leave");
}

}  // namespace

bool Draw(const ScreenContent& content, const Pages& pages, const View& view,
          const ScreenSize& size, Picture& picture) {
  if (!picture.Begin(size)) {
    return false;
  }
  Drawing drawing(content, pages, view, picture);
  drawing.DrawTitle();
  drawing.DrawBody();
  drawing.DrawMessage();
  drawing.DrawKeys();
  return true;
}

}  // namespace tvqplatform
