/*
 * A UEFI machine inside a Linux process, for tests, fuzzers, benchmarks and the command line.
 *
 * The handle database, events, task priorities and configuration table are the EDK II DXE core's
 * own code. This library adds what a core stands on: a pool, pages, a variable store, a clock and
 * the services that load images. It is as strict as firmware, loud on misuse, and it answers what
 * it does not do with EFI_UNSUPPORTED by name.
 *
 *     tvq::host::Firmware firmware;                                   // a fresh machine
 *     EFI_HANDLE handle = firmware.LoadImage(tvq::host::images::driver);
 *     EXPECT_EQ(firmware.StartImage(handle), EFI_SUCCESS);            // constructors, entry point
 *
 * Everything is for one thread, as boot services are.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_FIRMWARE_H_
#define TVQ_HOST_FIRMWARE_FIRMWARE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/firmware/edk2.h"

struct TvqHostImage;

namespace tvq::host {

class FirmwareState;

// A firmware image that is linked into this program. The build generates one per tvq_efi_image() as
// `tvq::host::images::<name>`, declared in "images/<name>.h".
class Image {
 public:
  // Remembers what the image's writable data looks like before any of its code has run.
  explicit Image(const TvqHostImage& record);
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;

  std::string Name() const;
  // For the library: what the image says of itself, its number among the owners, and its data put
  // back as it was at first.
  const TvqHostImage& Record() const { return mRecord; }
  unsigned Number() const { return mNumber; }
  void RestoreData() const;

 private:
  const TvqHostImage& mRecord;
  unsigned mNumber;
  std::unique_ptr<char[]> mInitialData;
};

// Who called a service or owns a block. Any Image converts to one, so that it reads as
// FailAllocation(3, images::driver).
class Owner {
 public:
  static constexpr unsigned kMaxOwners = 10;

  Owner(const Image& image) : mNumber(image.Number()) {}
  // The DXE core itself: handles, protocol entries, events, the configuration table.
  static constexpr Owner Core() { return Owner(0); }
  // The code around the machine (a test, the command line), which calls services through
  // Firmware::BootServices().
  static constexpr Owner Host() { return Owner(1); }
  static constexpr Owner FromNumber(unsigned number) { return Owner(number); }

  // "core", "host" or the image's name.
  std::string Name() const;
  constexpr unsigned Number() const { return mNumber; }
  bool operator==(const Owner& other) const { return mNumber == other.mNumber; }
  bool operator!=(const Owner& other) const { return mNumber != other.mNumber; }

 private:
  constexpr explicit Owner(unsigned number) : mNumber(number) {}

  unsigned mNumber;
};

// The return addresses on the stack at some moment, innermost first. Names are looked up when they
// are asked for; functions that the compiler inlined count as frames of their own.
class CallSite {
 public:
  static constexpr size_t kMaxFrames = 24;

  // Walks the frame pointers of the calling thread. `skip` leaves out that many innermost frames.
  static CallSite Here(size_t skip = 0);

  // Function names, innermost first. C++ functions without parameters and namespaces
  // ("MakeSYSTEM").
  std::vector<std::string> Functions() const;
  // True if a function of this name is on the stack.
  bool Has(std::string_view function) const;
  // "MakeSYSTEM < SMBIOSInit < ...", for messages.
  std::string ToString() const;

 private:
  uintptr_t mFrames[kMaxFrames] = {};
  size_t mCount = 0;
};

// One block of pool or pages.
struct Block {
  const void* address = nullptr;
  size_t size = 0;
  EFI_MEMORY_TYPE type = EfiBootServicesData;
  bool isPages = false;
  // Who is to free it: whoever called AllocatePool, or was handed it by LocateHandleBuffer.
  Owner owner = Owner::Core();
  uint64_t serial = 0;  // 1, 2, 3, ... in the order of allocation since the machine was made
  CallSite callSite;
};

// The machine's memory, behind AllocatePool, FreePool, AllocatePages and FreePages. Every block is
// an allocation of its own filled with a poison byte (0xAF), so that AddressSanitizer sees overruns
// and uses after free; without it, a tail mark is checked when the block is freed.
class Pool {
 public:
  class Store;
  explicit Pool(Store& store) : mStore(store) {}

  // Live blocks, oldest first.
  std::vector<Block> LiveBlocks() const;
  std::vector<Block> LiveBlocks(const Owner& owner) const;
  // The live block that contains the address.
  std::optional<Block> Find(const void* address) const;
  // Whether blocks know their call site; on in a fresh state. Finding it is a good part of an
  // allocation.
  void KeepCallSites(bool keep);
  // What AllocatePool makes of zero bytes: a block of their own, as in a fresh machine and in EDK II's
  // pool, or success with NULL, which other firmware has.
  void GiveNullForZeroBytes(bool give);

  // Calls so far that asked for a block, those that failed included.
  uint64_t Allocations() const;
  uint64_t Allocations(const Owner& owner) const;
  // Blocks freed so far.
  uint64_t Frees() const;
  size_t LiveCount() const;
  size_t LiveCount(const Owner& owner) const;

  // Makes the n-th allocation from now on fail with EFI_OUT_OF_RESOURCES (1 is the next one), and
  // only that one. With an owner, only the allocations that it asks for itself count and fail;
  // without, everybody's, so that installing a protocol can fail inside the core.
  void FailAllocation(uint64_t n, std::optional<Owner> owner = std::nullopt);
  // The same, for the n-th and all that follow.
  void FailFromAllocation(uint64_t n, std::optional<Owner> owner = std::nullopt);
  // Takes back every failure that was asked for.
  void StopFailing();
  // Allocations that failed because they were asked to.
  uint64_t FailedAllocations() const;

 private:
  Store& mStore;
};

// The services of both tables, by their names in the UEFI specification: Service::OpenProtocol,
// Service::SetVariable, ...
enum class Service : unsigned {
#define BOOT_SERVICE(name, parameters, arguments) name,
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) name,
#define BOOT_SERVICE_LIST(name, handle) name,
#define RUNTIME_SERVICE(name, parameters, arguments) name,
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) name,
#include "host/firmware/services.def"
  kCount,
};
const char* ServiceName(Service service);

// A failed ASSERT, or a CR with a bad signature, of an image or of the core (image "core").
struct Assertion {
  std::string image;
  std::string file;
  size_t line = 0;
  std::string text;
  CallSite callSite;
};

// A rule of the UEFI specification that was broken: a block freed twice, a service that this
// machine does not have, a call from an image that was unloaded, a task priority left raised, ...
struct Misuse {
  std::string what;
  CallSite callSite;
};

// A variable in the store.
struct Variable {
  std::u16string name;
  EFI_GUID guid = {};
  UINT32 attributes = 0;
  std::vector<UINT8> data;
};

// What is reported when something went wrong that nobody asked about (an assertion or a misuse that
// was not taken). The default prints the message and aborts, which suits fuzzers; programs made by
// tvq_unit_test() turn it into a failure of the running test.
using FailureHandler = void (*)(const std::string& message);
void SetFailureHandler(FailureHandler handler);

class Firmware {
 public:
  // A fresh machine: the core, all images and their variables as if the process had just started,
  // an empty pool and an empty variable store. A second machine while one exists ends the process
  // with a message.
  Firmware();
  // Reports assertions and misuse that were not taken, then empties the pool. Blocks that are still
  // live are no error.
  ~Firmware();
  Firmware(const Firmware&) = delete;
  Firmware& operator=(const Firmware&) = delete;

  // The tables as the code around the machine sees them; calls through them belong to
  // Owner::Host().
  EFI_SYSTEM_TABLE* SystemTable();
  EFI_BOOT_SERVICES* BootServices();
  EFI_RUNTIME_SERVICES* RuntimeServices();

  // --- Images ---

  // Loads an image: a handle with EFI_LOADED_IMAGE_PROTOCOL and a system table of the image's own,
  // whose services know who calls. No code of the image has run. An image can be loaded once at a
  // time.
  EFI_HANDLE LoadImage(const Image& image);
  // Runs the entry point as firmware does: the library constructors, then ENTRY_POINT of the INF.
  // When it fails, or when the image is an application, the image is unloaded and the handle is
  // gone.
  EFI_STATUS StartImage(EFI_HANDLE handle);
  // For tests that call functions of the image themselves: runs the library constructors (which set
  // gBS, gST and gImageHandle) and not the entry point. The image counts as started.
  void ConstructImage(EFI_HANDLE handle);
  // gBS->UnloadImage: EFI_UNSUPPORTED when the image set no Unload, else its result; the image is
  // gone when that is a success.
  EFI_STATUS UnloadImage(EFI_HANDLE handle);
  // The system table that a loaded image was given.
  EFI_SYSTEM_TABLE* SystemTableOf(const Image& image);
  EFI_HANDLE HandleOf(const Image& image);
  // Sets a PCD that the build made a run-time variable of this image (PCDS <name>=runtime). Until
  // then it has its declared default. Ends the process with a message when there is none of this
  // name.
  void SetPcd(const Image& image, std::string_view name, uint64_t value);

  // --- Memory, where the program links the library with bookkeeping ---

  Pool& Memory();

  // --- Service calls, likewise ---

  // Calls of a service by one owner so far, those that were made to fail included.
  uint64_t Calls(const Owner& owner, Service service) const;
  // Makes the n-th call from now on (1 is the next one) by this owner return `status` without being
  // carried out, outputs untouched; only that call. AllocatePool and AllocatePages can be made to
  // fail here too.
  void FailCall(const Owner& owner, Service service, uint64_t n, EFI_STATUS status);
  // The same, for the n-th and all that follow.
  void FailCallsFrom(const Owner& owner, Service service, uint64_t n, EFI_STATUS status);
  void StopFailingCalls();

  // --- Assertions, misuse, debug output ---

  // DebugAssertEnabled() of one image or of the core; on in a fresh state. A failed assertion is
  // recorded and the code goes on.
  void EnableAssertions(const Owner& owner, bool enabled);
  const std::vector<Assertion>& Assertions() const;
  // Hands the assertions over: they were expected and are no failure any more.
  std::vector<Assertion> TakeAssertions();
  const std::vector<Misuse>& Misuses() const;
  std::vector<Misuse> TakeMisuses();
  // DEBUG() lines are dropped, unless those of some levels are to be kept.
  void KeepDebugOutput(UINTN levels = MAX_UINTN);
  const std::string& DebugOutput() const;
  // What was written to ConOut and StdErr.
  const std::u16string& ConsoleOutput() const;

  // --- Variables ---

  const std::vector<Variable>& Variables() const;
  // The variable or nullptr.
  const Variable* FindVariable(std::u16string_view name, const EFI_GUID& guid) const;

  // --- Task priority and time ---

  EFI_TPL CurrentTpl() const;
  // Lets time pass, as Stall does: timers that expire are signalled.
  void AdvanceTime(uint64_t microseconds);
  // What the clock shows, which is no date until somebody sets it.
  void SetClock(const EFI_TIME& time);

 private:
  std::unique_ptr<FirmwareState> mState;
};

// Memory below 4 GiB, for tables whose entry point holds a 32-bit address. It belongs to no
// state.
enum class Guard {
  kNone,
  kBehind,  // the page directly behind the last byte is inaccessible
  kBefore,  // the page directly before the first byte is inaccessible
};

class LowMapping {
 public:
  LowMapping() = default;
  LowMapping(LowMapping&& other) noexcept;
  LowMapping& operator=(LowMapping&& other) noexcept;
  ~LowMapping();

  UINT8* Data() const { return mData; }
  size_t Size() const { return mSize; }
  UINT32 Address32() const { return static_cast<UINT32>(reinterpret_cast<uintptr_t>(mData)); }
  // Makes the bytes read-only: whoever writes to the table faults.
  void MakeReadOnly();

 private:
  friend LowMapping MapBelow4G(size_t size, Guard guard);
  void Unmap();

  UINT8* mData = nullptr;
  size_t mSize = 0;
  UINT8* mMapping = nullptr;
  size_t mMappingSize = 0;
};

// Maps `size` zeroed bytes below 4 GiB (2 GiB, in fact). With Guard::kBehind the first byte need
// not be aligned.
LowMapping MapBelow4G(size_t size, Guard guard = Guard::kNone);

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_FIRMWARE_H_
