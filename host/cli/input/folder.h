/*
 * Folders and files that are reached without following a link, also by root in places where others may write.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_FOLDER_H_
#define TVQ_HOST_CLI_INPUT_FOLDER_H_

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tvq::cli {

// Owns a file descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : mNumber(number) {}
  Descriptor(Descriptor&& other) noexcept { std::swap(mNumber, other.mNumber); }
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(mNumber, other.mNumber);
    return *this;
  }
  ~Descriptor();

  int Number() const { return mNumber; }
  bool IsOpen() const { return mNumber >= 0; }

 private:
  int mNumber = -1;
};

enum class Missing {
  kFails,
  kIsMade,  // the last folder alone, for its owner alone
};

// Opens a folder without following a link in any component of its path. Not open: errno says why, and
// `link` names the link where one is in the way.
Descriptor OpenFolder(const std::string& path, Missing missing, std::string& link);

enum class Taken {
  kFails,     // with EEXIST
  kReplaced,  // as a whole
};

enum class Readers {
  kOwner,
  kGroup,     // as far as the umask leaves it
  kEveryone,  // whatever the umask says
};

// What became of a file that was to be written.
enum class Written {
  kNo,  // errno says why; what was there before still is
  kYes,
  kNotSure,  // it is there, and may not be after a power cut: errno says why
};

// Writes a file as a whole or not at all: a new one is created under a name of its own, reaches the
// disk, and then takes this name. Its owner alone may write it. Whatever an interrupted write left is
// in nobody's way.
Written WriteFile(const Descriptor& folder, const std::string& name,
                  const std::vector<uint8_t>& bytes, Taken taken,
                  Readers readers = Readers::kOwner);

// The path behind its last slash.
std::string NameOfFile(const std::string& path);
// The path up to its last slash, and "." where it has none.
std::string FolderOf(const std::string& path);

// Whether the name is that of a symbolic link; errno stays.
bool IsLink(const Descriptor& folder, const std::string& name);

// Whether the name is that of a link, a device, a pipe or the like, which is never replaced.
bool IsSpecialFile(const Descriptor& folder, const std::string& name);

// Removes what interrupted writes of this user left of the files that isTheirs(name) is true of. Nobody
// else may write there at the same time.
void RemoveLeftovers(const Descriptor& folder,
                     const std::function<bool(const std::string& name)>& isTheirs);

// The names in a folder; empty where it cannot be read.
std::vector<std::string> NamesIn(const Descriptor& folder);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_FOLDER_H_
