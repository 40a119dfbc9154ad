/*
 * --redact for documents and blobs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "host/cli/device/blob.h"
#include "host/cli/redact/redact.h"
#include "host/cli/redact/redact_parts.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kSecretElements[] = {"WWN", "ServiceTag", "AssetTag", "PPIN", "UUID"};
constexpr std::string_view kSecretText = "wwnOffset";
constexpr char kBlank = 'x';

using Bytes = std::vector<uint8_t>;

std::string_view AsText(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void Overwrite(Bytes& bytes, std::size_t at, std::string_view text) {
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// The length of the tag at the start of the text; 0: there is none.
std::size_t LengthOfTag(std::string_view text) {
  for (const std::string_view start : {kDeclaration, kRootTag}) {
    if (text.substr(0, start.size()) == start) {
      return start.size();
    }
  }
  std::size_t at = 0;
  const auto skip = [&](char wanted) {
    const bool isThere = at < text.size() && text[at] == wanted;
    at += isThere ? 1 : 0;
    return isThere;
  };
  if (!skip('<')) {
    return 0;
  }
  skip('/');
  const std::size_t name = at;
  while (at < text.size() && IsNameCharacter(text[at])) {
    ++at;
  }
  return at != name && skip('>') ? at : 0;
}

// The texts of a document that cannot be taken apart, of which any may be a secret.
void MaskBetweenTags(Bytes& file, std::size_t at, std::size_t end, const Masker& masker) {
  const auto isText = [&](std::size_t i) {
    return i < end && file[i] != 0 && LengthOfTag(AsText(file).substr(i, end - i)) == 0;
  };
  while (at < end) {
    std::size_t stop = at;
    while (isText(stop)) {
      ++stop;
    }
    Overwrite(file, at, masker.Mask(AsText(file).substr(at, stop - at)));
    at = stop + std::max<std::size_t>(LengthOfTag(AsText(file).substr(stop, end - stop)), 1);
  }
}

// Writes the texts of an element back to where they were read.
void PutTexts(const Element& element, std::size_t document, Bytes& file) {
  for (const Element& child : element.children) {
    Overwrite(file, document + child.offset, child.text);
    PutTexts(child, document, file);
  }
}

class BlobRedaction {
 public:
  BlobRedaction(Bytes& file, const Masker& masker) : mFile(file), mMasker(masker) {}

  void Run() {
    const BlobList list = SplitBlobs(AsText(mFile));
    for (const Blob& blob : list.blobs) {
      if (blob.type == blobs::kInventory) {
        MaskInventory(blob);
      } else if (blob.type == blobs::kConfiguration) {
        MaskConfiguration(blob);
      }
    }
    MaskAllRepeats(list);
    BlankRest(list);
  }

 private:
  struct Placed {
    std::size_t at;
    Element root;
  };

  void PutText(const Blob& blob, const BlobText& text, const std::string& mask) {
    Overwrite(mFile, blob.offset + blobs::kStringArea + text.offset, mask);
  }

  // Where a reference is damaged, none of the texts is shown.
  static std::vector<BlobText> TextsOf(const Blob& blob) {
    try {
      return ReadInventoryBlob(blob).texts;
    } catch (const DataError&) {
      return {};
    }
  }

  void MaskInventory(const Blob& blob) {
    for (const BlobText& text : TextsOf(blob)) {
      if (text.field == kSecretText) {
        const std::string original(text.text);
        PutText(blob, text, mMasker.Mask(original));
        mSecrets.Add(original, text.text);
      }
    }
  }

  void MaskConfiguration(const Blob& blob) {
    const std::size_t at = blob.offset + blobs::kDocument;
    try {
      Element root = ReadDocument(ReadConfigurationBlob(blob));
      MaskSecrets(root, mMasker, mSecrets);
      mDocuments.push_back({at, std::move(root)});
    } catch (const DataError&) {
      MaskBetweenTags(mFile, at, blob.offset + blob.bytes.size(), mMasker);
    }
  }

  void MaskAllRepeats(const BlobList& list) {
    for (Placed& document : mDocuments) {
      MaskRepeats(document.root, mSecrets);
      PutTexts(document.root, document.at, mFile);
    }
    for (const Blob& blob : list.blobs) {
      if (blob.type == blobs::kInventory) {
        for (const BlobText& text : TextsOf(blob)) {
          PutText(blob, text, mSecrets.WithMasks(std::string(text.text)));
        }
      }
    }
  }

  // A message tells the first numbers of what is no blob. They may be characters of a text, unless
  // a header begins there.
  void BlankRest(const BlobList& list) {
    constexpr uint8_t kRevision[] = {blobs::kRevision, 0, 0, 0};
    const std::size_t end =
        list.blobs.empty() ? 0 : list.blobs.back().offset + list.blobs.back().bytes.size();
    const auto rest = mFile.begin() + static_cast<std::ptrdiff_t>(end);
    const std::size_t size = mFile.size() - end;
    const bool isHeader =
        size >= blobs::kHeaderSize && std::equal(std::begin(kRevision), std::end(kRevision), rest);
    std::fill(isHeader ? rest + blobs::kHeaderSize : rest, mFile.end(),
              static_cast<uint8_t>(kBlank));
  }

  Bytes& mFile;
  const Masker& mMasker;
  SecretList mSecrets;
  std::vector<Placed> mDocuments;
};

}  // namespace

bool IsSecretElement(std::string_view name) {
  return std::find(std::begin(kSecretElements), std::end(kSecretElements), name) !=
         std::end(kSecretElements);
}

void MaskSecrets(Element& document, const Masker& masker, SecretList& secrets) {
  for (Element& child : document.children) {
    MaskSecrets(child, masker, secrets);
    if (IsSecretElement(child.name)) {
      const std::string mask = masker.Mask(child.text);
      secrets.Add(child.text, mask);
      child.text = mask;
    }
  }
}

void MaskRepeats(Element& document, const SecretList& secrets) {
  for (Element& child : document.children) {
    MaskRepeats(child, secrets);
    if (!IsSecretElement(child.name)) {
      child.text = secrets.WithMasks(child.text);
    }
  }
}

void RedactBlobs(std::vector<uint8_t>& file, const Masker& masker) {
  BlobRedaction(file, masker).Run();
}

}  // namespace tvq::cli
