/*
 * --redact for documents and blobs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <set>

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

// What looks like the tag of an element.
struct Tag {
  std::string_view name;
  bool isEnd = false;
  std::size_t size = 0;  // 0: there is none
};

// The one at the start of the text.
Tag TagAt(std::string_view text) {
  if (text.substr(0, 1) != "<") {
    return {};
  }
  const bool isEnd = text.substr(0, 2) == "</";
  const std::size_t start = isEnd ? 2 : 1;
  const std::string_view rest = text.substr(start);
  const auto* const end = std::find_if_not(rest.begin(), rest.end(), IsNameCharacter);
  const std::string_view name = rest.substr(0, static_cast<std::size_t>(end - rest.begin()));
  const bool isTag = !name.empty() && rest.substr(name.size(), 1) == ">";
  return isTag ? Tag{name, isEnd, start + name.size() + 1} : Tag();
}

// A document that cannot be taken apart, any of whose texts may be a secret.
class BrokenDocument {
 public:
  explicit BrokenDocument(std::string_view bytes) : mBytes(bytes) {
    for (std::string_view rest = bytes; !rest.empty(); rest.remove_prefix(1)) {
      const Tag tag = TagAt(rest);
      (tag.isEnd ? mEnded : mBegun).insert(tag.name);
    }
  }

  // With a mask in place of each text.
  std::string Masked(const Masker& masker) const {
    std::string masked;
    std::string text;
    for (std::string_view rest = mBytes; !rest.empty();) {
      const std::size_t kept = LengthOfKept(rest);
      if (kept == 0) {
        text += rest.front();
        rest.remove_prefix(1);
        continue;
      }
      masked += masker.Mask(text);
      masked += rest.substr(0, kept);
      text.clear();
      rest.remove_prefix(kept);
    }
    return masked + masker.Mask(text);
  }

 private:
  // Of what ends a text here: a tag or a NUL. 0: it goes on.
  std::size_t LengthOfKept(std::string_view rest) const {
    for (const std::string_view fixed : {kNul, kDeclaration, kRootTag}) {
      if (rest.substr(0, fixed.size()) == fixed) {
        return fixed.size();
      }
    }
    // A text may look like a tag, but elements have two.
    const Tag tag = TagAt(rest);
    return mBegun.count(tag.name) != 0 && mEnded.count(tag.name) != 0 ? tag.size : 0;
  }

  static constexpr std::string_view kNul{"\0", 1};

  std::string_view mBytes;
  std::set<std::string_view> mBegun = {kRootName};
  std::set<std::string_view> mEnded;
};

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
      Overwrite(mFile, at, BrokenDocument(blob.bytes.substr(blobs::kDocument)).Masked(mMasker));
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
