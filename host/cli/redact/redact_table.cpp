/*
 * --redact for a structure table.
 *
 * What leaves is what is known to be no secret: the named values of known types. All else is masked
 * where it is a text and blanked where it is not, and nothing changes its place or its length, so
 * that every reader walks on as before.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <iterator>
#include <utility>

#include <Library/TvqDeviceLib.h>

#include "host/cli/redact/redact.h"
#include "host/cli/redact/redact_parts.h"
#include "host/table/layout.h"
#include "host/table/structure.h"

namespace tvq::cli {
namespace {

using table::Bytes;
using table::FieldKind;
using table::NamedValue;
using table::Structure;

constexpr uint8_t kSystem = 1;
constexpr uint8_t kProcessor = 4;
constexpr uint8_t kOemStrings = 11;
constexpr uint8_t kMemoryDevice = 17;
constexpr uint8_t kFqddMap = 225;
constexpr uint8_t kDimmExtension = 226;

// Types that the standard does not define yet.
constexpr uint8_t kFirstUndefined = 47;
constexpr uint8_t kLastUndefined = 125;

// What a string is, as the fields say that lead to it. The later one counts.
enum class Role {
  kUnknown,
  kShown,
  kName,
  kSecret,
};

bool IsPrintable(uint8_t byte) {
  return byte >= ' ' && byte <= '~';
}

bool HasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char one) { return one < ' '; });
}

// An empty string ends the strings of a structure for every reader. The text behind one is then read
// as a structure, which begins with its first four characters.
bool BeginsAsText(const Structure& structure) {
  const smbios::Bytes header = structure.Formatted().First(smbios::kHeaderSize);
  return std::all_of(header.begin(), header.end(), IsPrintable);
}

// Whether what stands where the strings should be is something else: a length that lies is too small.
bool HasBytesForStrings(const Structure& structure) {
  const std::vector<std::string_view>& strings = structure.Strings();
  const bool beginsOddly =
      !strings.empty() && !strings[0].empty() && !IsPrintable(static_cast<uint8_t>(strings[0][0]));
  return beginsOddly || std::any_of(strings.begin(), strings.end(),
                                    [](std::string_view text) { return HasControls(text); });
}

// Whether a string number leads to no string.
bool LacksStrings(const Structure& structure) {
  const std::vector<NamedValue> values = table::NamedValues(structure);
  return std::any_of(values.begin(), values.end(), [&](const NamedValue& value) {
    return value.kind == FieldKind::kString &&
           structure.Byte(value.offset) > structure.Strings().size();
  });
}

// Whether fields stand elsewhere, which may have strings.
bool HasMovedFields(const Structure& structure) {
  const table::Layout& layout = table::LayoutOf(structure.Type());
  return std::any_of(layout.fields.begin(), layout.fields.end(), [&](const table::Field& field) {
    return layout.IsMoved(field, structure.Formatted());
  });
}

// Whether the formatted part spells a text, but for a UUID: a length that lies has taken in strings.
bool SpellsText(const Structure& structure) {
  constexpr std::ptrdiff_t kShortestText = 4;
  const smbios::Bytes formatted = structure.Formatted();
  std::vector<bool> isText;
  std::transform(formatted.begin(), formatted.end(), std::back_inserter(isText), IsPrintable);
  for (const NamedValue& value : table::NamedValues(structure)) {
    if (value.kind == FieldKind::kUuid) {
      std::fill_n(isText.begin() + static_cast<std::ptrdiff_t>(value.offset), WidthOf(value.kind),
                  false);
    }
  }
  return std::search_n(isText.begin() + smbios::kHeaderSize, isText.end(), kShortestText, true) !=
         isText.end();
}

// Whether a structure of a known type is what it seems to be, behind one that was not: its string
// numbers lead to strings, and where it has none, its length is one that the standard knows.
bool IsSound(const Structure& structure) {
  const table::Layout& layout = table::LayoutOf(structure.Type());
  const bool hasStrings =
      std::any_of(layout.fields.begin(), layout.fields.end(),
                  [](const table::Field& field) { return field.kind == FieldKind::kString; });
  if (hasStrings) {
    return !structure.Strings().empty() && !LacksStrings(structure);
  }
  return std::any_of(layout.fields.begin(), layout.fields.end(), [&](const table::Field& field) {
    return layout.StandardSize(field.since) == structure.Formatted().Size();
  });
}

class TableRedaction {
 public:
  TableRedaction(Bytes& bytes, const Masker& masker, SecretList& secrets)
      : mBytes(bytes), mMasker(masker), mSecrets(secrets), mStructures(table::SplitTable(bytes)) {
    bool isDoubtful = false;
    for (const Structure& structure : mStructures) {
      const bool isMisread =
          BeginsAsText(structure) || (structure.Type() != kFqddMap && SpellsText(structure));
      const bool isKnown = HasNames(structure) && !isMisread && (!isDoubtful || IsSound(structure));
      (isKnown ? mKnown : mUnknown).push_back(structure);
      isDoubtful = isMisread || HasBytesForStrings(structure) || (isDoubtful && !isKnown);
    }
  }

  void MaskSecrets() {
    for (const Structure& structure : mKnown) {
      MaskKnown(structure);
    }
    for (const Structure& structure : mUnknown) {
      MaskUnknown(structure);
    }
  }

  // Once all secrets are known.
  void MaskRepeats() {
    for (const Structure& structure : mKnown) {
      const std::vector<Role> roles = RolesOf(structure);
      for (std::size_t i = 0; i < roles.size(); ++i) {
        if (roles[i] == Role::kShown) {
          const std::string_view text = structure.Strings()[i];
          Put(text, mSecrets.WithMasks(std::string(text)));
        }
      }
    }
  }

  // What cannot be read as structures may be anything, and every reader makes something else of it:
  // the driver finds strings in a structure that the table cuts, and goes on behind a length that
  // is that of no header; the source form has the bytes. None of them finds an end of strings, a
  // text, or a handle that it would look for in bytes of FFh, and a handle of FFFFh ends the
  // driver's walk. Padding hides nothing and stays.
  std::size_t BlankRest() {
    const std::size_t end = mStructures.empty() ? 0 : mStructures.back().End();
    const auto rest = mBytes.begin() + static_cast<std::ptrdiff_t>(end);
    const bool isPadding = std::all_of(rest, mBytes.end(), [&](uint8_t byte) {
      return byte == *rest && (byte == 0 || byte == 0xFF);
    });
    if (isPadding) {
      return 0;
    }
    std::fill(rest, mBytes.end(), uint8_t{0xFF});
    return mBytes.size() - end;
  }

 private:
  // Whether the names of the layout are those of this structure. Other makers have types 225 and 226
  // of their own.
  bool HasNames(const Structure& structure) const {
    if (structure.Type() == kFqddMap || structure.Type() == kDimmExtension) {
      return NamesDevice(structure);
    }
    return !table::LayoutOf(structure.Type()).name.empty();
  }

  // Whether a handle in it is that of a device of this table.
  bool NamesDevice(const Structure& structure) const {
    const std::vector<NamedValue> values = table::NamedValues(structure);
    return std::any_of(values.begin(), values.end(), [&](const NamedValue& value) {
      return value.kind == FieldKind::kHandle &&
             std::any_of(mStructures.begin(), mStructures.end(), [&](const Structure& other) {
               return other.Handle() == structure.Word(value.offset) &&
                      (other.Type() == kSystem || other.Type() == kProcessor ||
                       other.Type() == kMemoryDevice);
             });
    });
  }

  void MaskKnown(const Structure& structure) {
    const std::vector<Role> roles = RolesOf(structure);
    for (std::size_t i = 0; i < roles.size(); ++i) {
      MaskString(structure.Strings()[i], structure.Type(), roles[i]);
    }
    std::vector<bool> isNamed(structure.Formatted().Size());
    for (const NamedValue& value : table::NamedValues(structure)) {
      std::fill_n(isNamed.begin() + static_cast<std::ptrdiff_t>(value.offset), WidthOf(value.kind),
                  true);
      if (IsSecretField(value.name)) {
        MaskValue(structure.Offset() + value.offset, value.kind);
      }
    }
    for (std::size_t at = smbios::kHeaderSize; at < structure.Formatted().Size(); ++at) {
      if (!isNamed[at]) {
        mBytes[structure.Offset() + at] = 0;
      }
    }
  }

  // Nothing is known about it.
  void MaskUnknown(const Structure& structure) {
    for (const std::string_view text : structure.Strings()) {
      MaskString(text, structure.Type(), Role::kUnknown);
    }
    const std::size_t kept = KeptOf(structure);
    Blank(structure.Offset() + kept, structure.Formatted().Size() - kept);
    if (BeginsAsText(structure) && structure.Type() >= kFirstUndefined &&
        structure.Type() <= kLastUndefined) {
      MaskHeader(structure);
    }
  }

  // The driver does not start where a structure of type 225 has another format than its own.
  static std::size_t KeptOf(const Structure& structure) {
    const bool hasFormat = structure.Type() == kFqddMap &&
                           devices::CheckFqddMap(structure) == devices::FqddMap::kUsable;
    return hasFormat ? devices::kFqddGroups : smbios::kHeaderSize;
  }

  // Characters of a text. The second one is the length, by which every reader walks on.
  void MaskHeader(const Structure& structure) {
    uint8_t* const header = &mBytes[structure.Offset()];
    const std::string mask = mMasker.Mask(std::string{
        static_cast<char>(header[0]), static_cast<char>(header[2]), static_cast<char>(header[3])});
    header[0] = static_cast<uint8_t>(mask[0]);
    header[2] = static_cast<uint8_t>(mask[1]);
    header[3] = static_cast<uint8_t>(mask[2]);
  }

  std::vector<Role> RolesOf(const Structure& structure) const {
    const table::Layout& layout = table::LayoutOf(structure.Type());
    const bool isList = std::any_of(
        layout.fields.begin(), layout.fields.end(),
        [](const table::Field& field) { return field.kind == FieldKind::kStringCount; });
    std::vector<Role> roles(structure.Strings().size(), isList ? Role::kShown : Role::kUnknown);
    for (const NamedValue& value : table::NamedValues(structure)) {
      const uint8_t number = structure.Byte(value.offset);
      if (value.kind == FieldKind::kString && number != 0 && number <= roles.size()) {
        Role& role = roles[number - 1u];
        const bool isName = structure.Type() == kFqddMap || devices::IsName(structure, number);
        role = std::max(role, IsSecretField(value.name) ? Role::kSecret
                              : isName                  ? Role::kName
                                                        : Role::kShown);
      }
    }
    // The numbers then lead to others than was meant, and a secret may be where a maker should be.
    const bool isLastUnknown = !roles.empty() && roles.back() == Role::kUnknown;
    if (HasBytesForStrings(structure) || LacksStrings(structure) ||
        (isLastUnknown && !HasMovedFields(structure))) {
      std::replace(roles.begin(), roles.end(), Role::kShown, Role::kUnknown);
    }
    return roles;
  }

  void MaskString(std::string_view text, uint8_t type, Role role) {
    const std::string original(text);
    if (type == kOemStrings) {
      Put(text, mMasker.MaskOemString(original));
      mSecrets.Add(PpinOf(original), PpinOf(text));
    } else if (role == Role::kSecret) {
      Put(text, mMasker.Mask(original));
      mSecrets.Add(original, text);
    } else if (role == Role::kUnknown) {
      // Bytes that are no text have no shape that a mask could keep.
      Put(text, HasControls(text) ? std::string(text.size(), 'x') : mMasker.Mask(original));
    }
  }

  void MaskValue(std::size_t at, FieldKind kind) {
    if (kind == FieldKind::kUuid) {
      const auto start = mBytes.begin() + static_cast<std::ptrdiff_t>(at);
      const Bytes original(start, start + static_cast<std::ptrdiff_t>(WidthOf(kind)));
      const Bytes mask = mMasker.MaskUuid(original);
      std::copy(mask.begin(), mask.end(), start);
      mSecrets.AddUuid(original, mask);
    } else if (kind != FieldKind::kString) {
      Blank(at, WidthOf(kind));
    }
  }

  void Blank(std::size_t at, std::size_t size) {
    std::fill_n(mBytes.begin() + static_cast<std::ptrdiff_t>(at), size, uint8_t{0});
  }

  // Overwrites a string of a structure, which is a view of the table.
  void Put(std::string_view place, const std::string& text) {
    const auto* const start = reinterpret_cast<const uint8_t*>(place.data());
    std::copy(text.begin(), text.end(), mBytes.begin() + (start - mBytes.data()));
  }

  Bytes& mBytes;
  const Masker& mMasker;
  SecretList& mSecrets;
  std::vector<Structure> mStructures;
  std::vector<Structure> mKnown;
  std::vector<Structure> mUnknown;
};

}  // namespace

bool IsSecretField(std::string_view field) {
  return field == "serial" || field == "asset-tag" || field == "uuid" || field == "oem";
}

std::size_t RedactTogether(const std::vector<std::vector<uint8_t>*>& tables,
                           const std::vector<Element*>& documents, const Masker& masker,
                           SecretList& secrets) {
  std::vector<TableRedaction> redactions;
  for (std::vector<uint8_t>* const table : tables) {
    redactions.emplace_back(*table, masker, secrets);
    redactions.back().MaskSecrets();
  }
  for (Element* const document : documents) {
    MaskSecrets(*document, masker, secrets);
  }
  for (Element* const document : documents) {
    MaskRepeats(*document, secrets);
  }
  std::size_t blanked = 0;
  for (TableRedaction& redaction : redactions) {
    redaction.MaskRepeats();
    blanked += redaction.BlankRest();
  }
  return blanked;
}

std::size_t RedactTable(std::vector<uint8_t>& structures, const Masker& masker) {
  SecretList secrets;
  return RedactTogether({&structures}, {}, masker, secrets);
}

}  // namespace tvq::cli
