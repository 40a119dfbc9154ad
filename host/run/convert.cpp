/*
 * From the types of the firmware to those of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/convert.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "TvqPlatformPkg/src/agent/start.h"

namespace tvq::run {
namespace {

template <typename T>
Bytes CopyOfObject(const T& object) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&object);
  return Bytes(bytes, bytes + sizeof(object));
}

std::optional<std::u16string> WideTextIfAny(const CHAR16* text) {
  return text == nullptr ? std::nullopt : std::optional(WideText(text));
}

std::optional<std::string> TextIfAny(const CHAR8* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace

std::string InWords(EFI_STATUS status) {
  char words[kSentence];
  tvqplatform::StatusInWords(status, words, sizeof(words));
  return words;
}

tvqplatform::Bytes ViewOf(const Bytes& bytes) {
  return {bytes.data(), bytes.size()};
}

Bytes CopyOf(tvqplatform::Bytes bytes) {
  return Bytes(bytes.begin(), bytes.end());
}

// CHAR16 is an unsigned short here.
std::u16string WideText(const CHAR16* text) {
  std::u16string copy;
  for (; *text != 0; ++text) {
    copy.push_back(static_cast<char16_t>(*text));
  }
  return copy;
}

Table ToTable(const tvqplatform::Capture& capture, EntryPoints shown) {
  if (capture.Error != tvqplatform::CaptureError::kNone) {
    throw TableError(tvqplatform::CaptureErrorText(capture.Error));
  }
  Table table;
  table.major = capture.Table.Major;
  table.minor = capture.Table.Minor;
  table.structureCount = capture.Table.StructureCount;
  table.structures = CopyOf(capture.Table.Structures);
  table.isBare = capture.Kind == smbios::EntryPointKind::kNone;
  for (UINTN i = 0; i < capture.Remarks.Size(); ++i) {
    const bool isOfOthers = capture.Remarks[i].Kind == tvqplatform::NoteKind::kOnly64Bit;
    if (isOfOthers && shown == EntryPoints::kOneOfAll) {
      continue;
    }
    char sentence[kSentence];
    tvqplatform::FormatNote(capture.Remarks[i], sentence, sizeof(sentence));
    table.warnings.emplace_back(sentence);
  }
  return table;
}

std::vector<DeviceLabel> ToLabels(const tvqplatform::DeviceLabels& labels) {
  std::vector<DeviceLabel> copies;
  for (const tvqplatform::DeviceLabel& label : labels.All()) {
    DeviceLabel copy;
    const std::string fqdd = label.Fqdd;
    std::transform(fqdd.begin(), fqdd.end(), std::back_inserter(copy.fqdd),
                   [](char character) { return static_cast<unsigned char>(character); });
    copy.text.assign(label.Text.begin(), label.Text.end());
    copy.rule = label.Rule == nullptr ? "" : label.Rule;
    copy.handle = label.Handle;
    copy.hasRecord = label.HasRecord;
    copy.key.assign(std::begin(label.Key.Data), std::end(label.Key.Data));
    copies.push_back(std::move(copy));
  }
  return copies;
}

Record ToRecord(const tvqplatform::DeviceInventory& device) {
  Record record;
  record.deviceType = device.DeviceType;
  record.name = WideTextIfAny(device.Name);
  record.fqdd = WideTextIfAny(device.Fqdd);
  if (device.HasDevicePath) {
    record.devicePath = CopyOfObject(device.DevicePath);
  }
  if (!EFI_ERROR(device.IdentityStatus)) {
    record.identity = CopyOfObject(device.Identity);
  }
  UINTN slot = 0;
  for (auto& blob : record.blobs) {
    const tvqplatform::Bytes bytes = tvqplatform::BlobBytes(device, slot++);
    if (bytes.Data() != nullptr) {
      blob = CopyOf(bytes);
    }
  }
  return record;
}

Attribute ToAttribute(const tvqplatform::AttributeAnswer& answer) {
  Attribute attribute;
  attribute.nameSpace = WideText(answer.Namespace);
  attribute.name = WideText(answer.Name);
  attribute.status = InWords(answer.Status);
  attribute.text = WideTextIfAny(answer.Text);
  if (answer.BiosInfo != nullptr) {
    attribute.biosInfo =
        BiosInfo{TextIfAny(answer.BiosInfo->ServiceTag), TextIfAny(answer.BiosInfo->BiosVersion),
                 TextIfAny(answer.BiosInfo->ProductName)};
  }
  return attribute;
}

std::string GuidText(const EFI_GUID& guid) {
  char text[40];
  std::snprintf(text, sizeof(text), "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
                static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                guid.Data4[6], guid.Data4[7]);
  return text;
}

}  // namespace tvq::run
