/*
 * One run of the driver in this process, in types of the standard library: the command line and its
 * tests see nothing of EDK II.
 *
 *     tvq::run::DriverRun driver;
 *     tvq::run::Table table = driver.ReadCapturedFile(bytes);   // throws TableError
 *     tvq::run::Results results = driver.Run(table);
 *
 * The machine, its platform and the driver are made with it. Reading, conforming,
 * publishing and collecting is the agent's own code.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_DRIVER_RUN_H_
#define TVQ_HOST_RUN_DRIVER_RUN_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/run/comparison.h"

namespace tvq::run {

using Bytes = std::vector<uint8_t>;

// Bytes that are no SMBIOS table, or one that cannot be published. The message is the rest of a
// sentence about them.
class TableError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A processor socket or a memory slot, with or without a part in it.
struct DeviceLabel {
  std::u16string fqdd;
  std::string text;  // what the machine's own table calls it; 8-bit characters
  std::string rule;  // what gave the name; empty where the table was left as it is
  uint16_t handle = 0;
  bool hasRecord = false;
  Bytes key;  // in the device path of its record
};

// A structure table and what its entry point states about it.
struct Table {
  unsigned major = 0;
  unsigned minor = 0;
  unsigned structureCount = 0;
  Bytes structures;
  bool isBare = false;  // it came without an entry point
  std::vector<std::string> warnings;
  std::vector<DeviceLabel> labels;  // of one that was conformed
  struct Original {
    unsigned structureCount = 0;
    Bytes structures;
  };
  std::optional<Original> original;  // of one that was conformed: as the machine published it
};

struct Conformed {
  Table table;  // the original one when it needs no change or was refused
  bool isRefused = false;
  std::string summary;               // one sentence without a full stop
  std::vector<std::string> changes;  // where all of them are described
  std::vector<std::string> remarks;  // those of the changes that are more than a device's name
};

struct Record {
  unsigned deviceType = 0;
  std::optional<DeviceLabel> label;  // none for the system
  std::optional<std::u16string> name;
  std::optional<std::u16string> fqdd;
  std::optional<Bytes> devicePath;
  std::optional<Bytes> identity;
  std::optional<Bytes> blobs[3];  // inventory, configuration, end
};

// Texts of 8-bit characters, as the SMBIOS table has them.
struct BiosInfo {
  std::optional<std::string> serviceTag;
  std::optional<std::string> biosVersion;
  std::optional<std::string> productName;
};

struct Attribute {
  std::u16string nameSpace;
  std::u16string name;
  std::string status;
  std::optional<std::u16string> text;
  std::optional<BiosInfo> biosInfo;
};

struct Variable {
  std::u16string name;
  std::string guid;
  uint32_t attributes = 0;
  Bytes data;
};

struct LogLine {
  uint32_t level = 0;
  std::string function;
  std::u16string text;
};

struct Results {
  std::string start;  // the status of the start
  std::vector<Record> records;
  std::vector<Attribute> attributes;
  std::vector<Variable> variables;
  std::vector<LogLine> log;         // what was logged during the start, where lines are kept
  std::vector<DeviceLabel> labels;  // of all sockets and slots
  // Failed assertions, rules of the UEFI specification that were broken, and calls that would not
  // return on firmware.
  std::vector<std::string> complaints;
};

// Bytes that are no saved state. The message is the rest of a sentence about them.
class StateError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Where a state comes from, beside the table.
struct Origin {
  bool isRedacted = false;  // the table was, before the driver saw it
  uint64_t time = 0;        // seconds since 1970, UTC
};

// What a file of a saved state is.
struct StateFile {
  enum class Kind {
    kWhole,
    kCutOff,    // while it was saved, if it is the newest
    kUnusable,  // damaged, or of a later version
  };
  Kind kind = Kind::kWhole;
  std::string what;  // the rest of a sentence about it
};

struct StateOptions {
  bool isAsIs = false;
  bool isRedacted = false;
};

// A device of a state that nothing can be compared with.
struct StateHole {
  std::string fqdd;  // empty for a device that has none
  std::string why;
};

// Whether a saved state is one to compare the machine of a run with.
struct StateFit {
  enum class Machine {
    kSame,
    kBoardReplaced,
    kAnother,
    kUnknown,
  };
  Machine machine = Machine::kUnknown;
  std::string thisMachine;  // what tells it from others
  std::string savedMachine;
  unsigned version = 0;
  uint64_t generation = 0;
  uint64_t time = 0;    // seconds since 1970, UTC; 0 where it is unknown
  std::string program;  // version of the program that saved it; empty where that is unknown
  StateOptions options;
  bool hasOtherOptions = false;
  std::vector<StateHole> holes;
};

// The table that a saved state was made of.
struct StateTable {
  std::optional<Table> table;  // nothing where it was not kept
  bool isAsIs = false;         // the driver read it as it stands
  Origin origin;
};

// A question for the slot or the onboard device at a PCI address.
struct SlotQuery {
  uint8_t bus = 0;
  uint8_t device = 0;
  uint8_t function = 0;
  bool isById = false;  // asks "SMBIOSSLOTID", not "SMBIOSPCISlotInfo"
};

struct SlotAnswer {
  std::string status;
  bool isFound = false;
  bool neverEnds = false;   // on firmware, the search would not have come back
  bool endsAtSlot = false;  // nothing was found, and a system slot ended the search
  unsigned slotId = 0;      // of an onboard device, the number of its name's string
  bool isOnboard = false;
  unsigned slotType = 0;
  unsigned slotLength = 0;
  unsigned dataBusWidth = 0;
};

// What becomes of the driver's log lines.
enum class LogLines {
  kDropped,
  kKept,
};

// Which changes of a table are put into words, of which each device has several.
enum class Described {
  kRemarks,
  kChanges,
};

// There is one at a time.
class DriverRun {
 public:
  // Lines are formatted where somebody reads them: that is half of what a run takes.
  explicit DriverRun(LogLines log = LogLines::kDropped);
  ~DriverRun();
  DriverRun(const DriverRun&) = delete;
  DriverRun& operator=(const DriverRun&) = delete;

  // A file of `dmidecode --dump-bin`, or a bare table.
  Table ReadCapturedFile(const Bytes& file);
  // A table that lies apart from its entry point, as in /sys/firmware/dmi/tables.
  Table ReadSeparateTable(const Bytes& entryPoint, const Bytes& structures);

  Conformed Conform(const Table& table, Described described = Described::kRemarks);

  // Publishes the table, starts the driver and collects everything. Once in its life.
  Results Run(const Table& table);

  // Throws StateError.
  StateTable ReadStateTable(const Bytes& state);

  // After Run: asks the driver as a platform would.
  SlotAnswer AskSlot(const SlotQuery& query);

  // After Run: the state of all devices, as the agent saves it.
  Bytes State(const Origin& origin = {}, uint64_t generation = 1);
  // After Run: the saved state, in which the devices of these names or labels are as they are now.
  // Throws StateError, whose message then begins with the name.
  Bytes Accept(const Bytes& saved, const std::vector<std::string>& names, const Origin& origin,
               uint64_t generation);
  // After Run: whether the state is one to compare with. Throws StateError.
  StateFit FitOf(const Bytes& state, const Origin& origin);
  // Whether a state is one to compare another one with, which stands for this machine. Throws
  // StateError.
  StateFit FitOf(const Bytes& state, const Bytes& now);
  // The file with this number, which is its generation.
  StateFile CheckStateFile(const Bytes& file, uint64_t number);
  // Whether the states differ in nothing but number and time. Throws StateError.
  bool AreEqual(const Bytes& state, const Bytes& other);
  // After Run: what became of each device since the state was saved. Throws StateError.
  Comparison Compare(const Bytes& state, const Origin& origin, const CompareOptions& options);
  // What became of each device between two saved states. No driver is asked. Throws StateError.
  Comparison CompareStates(const Bytes& before, const Bytes& after, const CompareOptions& options);

 private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_DRIVER_RUN_H_
