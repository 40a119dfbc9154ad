/*
 * One run of the driver in this process.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/driver_run.h"

#include <Library/TvqDeviceLib.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string_view>
#include <utility>

#include "host/firmware/firmware.h"
#include "host/run/convert.h"
#include "host/run/saved_states.h"
#include "host/run/started.h"
#include "host/run/to_comparison.h"
#include "images/agent.h"
#include "images/driver.h"
#include "images/platform.h"

extern "C" {
#include <Protocol/DebugLog.h>
}

#include "TvqPlatformPkg/src/agent/ask_driver.h"
#include "TvqPlatformPkg/src/agent/attributes.h"
#include "TvqPlatformPkg/src/agent/inventory.h"
#include "TvqPlatformPkg/src/agent/start.h"
#include "TvqPlatformPkg/src/smbios/capture.h"
#include "TvqPlatformPkg/src/smbios/conform.h"
#include "TvqPlatformPkg/src/smbios/names/device_labels.h"
#include "TvqPlatformPkg/src/smbios/publication.h"
#include "TvqPlatformPkg/src/compare/accepted_devices.h"
#include "TvqPlatformPkg/src/states/state_format.h"

namespace tvq::run {
namespace {

// The walk of a slot query counts structures in eight bits.
constexpr unsigned kLongestEndingWalk = 0xFF;

void Require(bool hadMemory) {
  if (!hadMemory) {
    throw std::bad_alloc();
  }
}

// Of a table that was left as it is.
std::vector<DeviceLabel> LabelsOf(const Table& table) {
  tvqplatform::DeviceLabels labels;
  Require(labels.Collect(ViewOf(table.structures)));
  return ToLabels(labels);
}

// The label of a record, by what tells the records' device paths apart.
std::optional<DeviceLabel> FindLabel(const std::vector<DeviceLabel>& labels, const Record& record) {
  const devices::Key key = devices::KeyOfPath(ViewOf(record.devicePath.value_or(Bytes())));
  const auto found = std::find_if(labels.begin(), labels.end(), [&key](const DeviceLabel& label) {
    return label.hasRecord && std::equal(label.key.begin(), label.key.end(), std::begin(key.Data));
  });
  return found == labels.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

struct DriverRun::Impl {
  explicit Impl(LogLines log) {
    // A slot query that firmware would never return from ends here.
    firmware.SetPcd(host::images::driver, "PcdTvqBoundedWalks", 1);
    StartImage(host::images::platform);
    if (log == LogLines::kDropped) {
      RemoveDebugLog();
    }
    StartImage(host::images::driver);
    firmware.SetPcd(host::images::driver, "PcdTvqBoundedWalks", 1);
    firmware.ConstructImage(firmware.LoadImage(host::images::agent));
  }
  ~Impl() { TakeComplaints(); }

  // The driver logs nothing where the platform has no debug log.
  void RemoveDebugLog() {
    EFI_BOOT_SERVICES& services = *firmware.BootServices();
    EFI_HANDLE* handles = nullptr;
    UINTN count = 0;
    void* protocol = nullptr;
    EFI_STATUS status =
        services.LocateHandleBuffer(ByProtocol, &gDebugLogProtocolGuid, nullptr, &count, &handles);
    if (!EFI_ERROR(status)) {
      status = services.HandleProtocol(handles[0], &gDebugLogProtocolGuid, &protocol);
    }
    if (!EFI_ERROR(status)) {
      status = services.UninstallProtocolInterface(handles[0], &gDebugLogProtocolGuid, protocol);
    }
    services.FreePool(handles);
    if (EFI_ERROR(status)) {
      throw std::logic_error("the debug log cannot be taken away: " + InWords(status));
    }
  }

  void StartImage(const host::Image& image) {
    const EFI_STATUS status = firmware.StartImage(firmware.LoadImage(image));
    if (EFI_ERROR(status)) {
      throw std::logic_error("the image '" + image.Name() + "' ends with status " +
                             std::to_string(status));
    }
  }

  void Publish(const Table& table, tvqplatform::Publication& publication) {
    const tvqplatform::SmbiosTable smbios = {
        static_cast<UINT8>(table.major), static_cast<UINT8>(table.minor),
        static_cast<UINT16>(table.structureCount), ViewOf(table.structures)};
    const EFI_STATUS status = publication.Publish(smbios);
    if (status == EFI_BAD_BUFFER_SIZE) {
      throw TableError("its table has " + std::to_string(table.structures.size()) +
                       " bytes, and a 32-bit entry point can state no more than 65,535");
    }
    if (EFI_ERROR(status)) {
      throw TableError("its table cannot be published: " + InWords(status));
    }
  }

  std::vector<Record> CollectRecords() {
    tvqplatform::Inventory inventory;
    CollectInto(inventory);
    std::vector<Record> records;
    for (UINTN i = 0; i < inventory.Size(); ++i) {
      records.push_back(ToRecord(inventory[i]));
    }
    return records;
  }

  std::vector<Attribute> AskAttributes() {
    const tvqplatform::AttributeAnswers answers;
    std::vector<Attribute> attributes;
    for (UINTN i = 0; i < tvqplatform::AttributeAnswers::kCount; ++i) {
      attributes.push_back(ToAttribute(answers[i]));
    }
    return attributes;
  }

  // The query as the driver left it. `type` stands where the driver need not write one.
  static EFI_STATUS Ask(const SlotQuery& query, UINT8 type, SMBIOS_SLOT_QUERY& answer) {
    answer = {};
    answer.Bus = query.bus;
    answer.Device = query.device;
    answer.Function = query.function;
    answer.SlotType = type;
    UINT64 value = reinterpret_cast<UINTN>(&answer);
    TVQ_PLATFORM_PROTOCOL* platform = tvqplatform::FindPlatform();
    return platform->GetAttribute(
        platform, tvq::Ucs2(TVQ_NAMESPACE_PCI),
        tvq::Ucs2(query.isById ? TVQ_ATTRIBUTE_SLOT_ID : TVQ_ATTRIBUTE_PCI_SLOT_INFO), &value);
  }

  std::vector<LogLine> ReadLog() {
    std::vector<LogLine> log;
    TVQ_PLATFORM_PROTOCOL* platform = tvqplatform::FindPlatform();
    TVQ_LOG_LINE line;
    for (UINTN i = 0; !EFI_ERROR(platform->GetLogLine(platform, i, &line)); ++i) {
      log.push_back({line.Level, line.FunctionName, WideText(line.Text)});
    }
    return log;
  }

  std::vector<Variable> ReadVariables() {
    std::vector<Variable> variables;
    for (const host::Variable& variable : firmware.Variables()) {
      variables.push_back(
          {variable.name, GuidText(variable.guid), variable.attributes, variable.data});
    }
    return variables;
  }

  std::vector<std::string> TakeComplaints() {
    std::vector<std::string> complaints;
    for (const host::Assertion& assertion : firmware.TakeAssertions()) {
      complaints.push_back("assertion in " + assertion.image + ", " + assertion.file + ":" +
                           std::to_string(assertion.line) + ": " + assertion.text);
    }
    for (const host::Misuse& misuse : firmware.TakeMisuses()) {
      complaints.push_back(misuse.what);
    }
    return complaints;
  }

  host::Firmware firmware;
  bool isStarted = false;
  unsigned structureCount = 0;
  std::vector<DeviceLabel> labels;  // of the table that the driver ran on
  std::optional<Started> started;
};

DriverRun::DriverRun(LogLines log) : mImpl(std::make_unique<Impl>(log)) {}
DriverRun::~DriverRun() = default;

Table DriverRun::ReadCapturedFile(const Bytes& file) {
  tvqplatform::Capture capture;
  tvqplatform::ReadCapturedFile(ViewOf(file), capture);
  return ToTable(capture, EntryPoints::kAll);
}

Table DriverRun::ReadSeparateTable(const Bytes& entryPoint, const Bytes& structures) {
  tvqplatform::Capture capture;
  tvqplatform::ReadSeparateTable(ViewOf(entryPoint), ViewOf(structures), capture);
  return ToTable(capture, EntryPoints::kOneOfAll);
}

Conformed DriverRun::Conform(const Table& table, Described described) {
  Conformed conformed;
  conformed.table = table;
  tvqplatform::ConformedTable result;
  const tvqplatform::ConformResult outcome = result.Conform(ViewOf(table.structures));
  conformed.isRefused = tvqplatform::IsRefused(outcome);
  conformed.summary = tvqplatform::ConformResultText(outcome);
  if (outcome == tvqplatform::ConformResult::kChanged) {
    conformed.table.structures = CopyOf(result.Structures());
    conformed.table.structureCount =
        static_cast<unsigned>(smbios::Summarize(result.Structures()).Count);
  }
  if (!conformed.isRefused) {
    tvqplatform::DeviceLabels labels;
    Require(labels.Collect(result.Devices(), result.Structures()));
    conformed.table.labels = ToLabels(labels);
    conformed.table.original = {table.structureCount, table.structures};
  }
  for (const tvqplatform::TableChange& change : result.Changes()) {
    const bool isRemarkable = tvqplatform::IsRemarkable(change);
    if (!isRemarkable && described == Described::kRemarks) {
      continue;
    }
    char sentence[kSentence];
    tvqplatform::FormatChange(change, sentence, sizeof(sentence));
    if (described == Described::kChanges) {
      conformed.changes.emplace_back(sentence);
    }
    if (isRemarkable) {
      conformed.remarks.emplace_back(sentence);
    }
  }
  return conformed;
}

Results DriverRun::Run(const Table& table) {
  tvqplatform::Publication publication;
  mImpl->Publish(table, publication);
  Results results;
  const EFI_STATUS start = tvqplatform::StartDriver();
  mImpl->isStarted = !EFI_ERROR(start);
  mImpl->structureCount = table.structureCount;
  mImpl->started.emplace(table, mImpl->isStarted);
  results.start = InWords(start);
  results.log = mImpl->ReadLog();
  results.records = mImpl->CollectRecords();
  mImpl->labels = table.labels.empty() ? LabelsOf(table) : table.labels;
  results.labels = mImpl->labels;
  for (Record& record : results.records) {
    record.label = FindLabel(results.labels, record);
  }
  results.attributes = mImpl->AskAttributes();
  results.variables = mImpl->ReadVariables();
  publication.Restore();
  results.complaints = mImpl->TakeComplaints();
  if (table.structureCount > kLongestEndingWalk) {
    results.complaints.push_back(
        "on firmware, a query for a slot that is not there would never return: the table states " +
        std::to_string(table.structureCount) + " structures, and its walk counts to 255");
  }
  return results;
}

SlotAnswer DriverRun::AskSlot(const SlotQuery& query) {
  SMBIOS_SLOT_QUERY reply;
  SMBIOS_SLOT_QUERY other;
  const EFI_STATUS status = Impl::Ask(query, 0x00, reply);
  Impl::Ask(query, 0xFF, other);
  SlotAnswer answer;
  answer.status = InWords(status);
  answer.isFound = !EFI_ERROR(status);
  // A slot that ends the search without an answer leaves its type behind, whatever stood there.
  answer.endsAtSlot = !answer.isFound && reply.SlotType == other.SlotType;
  // The driver counts structures in 8 bits.
  answer.neverEnds = status == EFI_NOT_FOUND && !answer.endsAtSlot && mImpl->isStarted &&
                     mImpl->structureCount > MAX_UINT8;
  answer.slotId = reply.SlotId;
  answer.isOnboard = reply.OnBoard != 0;
  answer.slotType = reply.SlotType;
  answer.slotLength = reply.SlotLength;
  answer.dataBusWidth = reply.SlotDataBusWidth;
  return answer;
}

Bytes DriverRun::State(const Origin& origin, uint64_t generation) {
  tvqplatform::BootSnapshot snapshot;
  mImpl->started->Take(origin, snapshot);
  return FileOf(snapshot.Get(), generation, origin.time);
}

Bytes DriverRun::Accept(const Bytes& saved, const std::vector<std::string>& names,
                        const Origin& origin, uint64_t generation) {
  tvqplatform::BootSnapshot now;
  mImpl->started->Take(origin, now);
  tvqplatform::StoredState state;
  ReadInto(saved, state);
  tvqplatform::AcceptedDevices accepted;
  tvqplatform::AcceptResult result = accepted.Begin(state.Content, now.Get());
  for (const std::string& name : names) {
    if (result == tvqplatform::AcceptResult::kAccepted) {
      result = accepted.Accept(name.c_str());
    }
    if (result != tvqplatform::AcceptResult::kAccepted) {
      throw StateError("'" + name + "' " + tvqplatform::AcceptResultText(result));
    }
  }
  return FileOf(accepted.Get(), generation, origin.time);
}

StateFit DriverRun::FitOf(const Bytes& state, const Origin& origin) {
  tvqplatform::BootSnapshot now;
  mImpl->started->Take(origin, now);
  tvqplatform::StoredState saved;
  ReadInto(state, saved);
  return run::FitOf(now.Get(), saved);
}

StateFit DriverRun::FitOf(const Bytes& state, const Bytes& now) {
  tvqplatform::StoredState saved;
  tvqplatform::StoredState current;
  ReadInto(state, saved);
  ReadInto(now, current);
  return run::FitOf(current.Content, saved);
}

StateFile DriverRun::CheckStateFile(const Bytes& file, uint64_t number) {
  return run::CheckStateFile(file, number);
}

bool DriverRun::AreEqual(const Bytes& state, const Bytes& other) {
  tvqplatform::StoredState left;
  tvqplatform::StoredState right;
  ReadInto(state, left);
  ReadInto(other, right);
  return left.Version == right.Version && FileOf(left.Content, 1, 0) == FileOf(right.Content, 1, 0);
}

StateTable DriverRun::ReadStateTable(const Bytes& state) {
  tvqplatform::StoredState stored;
  ReadInto(state, stored);
  const tvqplatform::Snapshot& content = stored.Content;
  StateTable kept;
  kept.isAsIs = (content.Options & tvqplatform::kSnapshotAsIs) != 0;
  kept.origin.isRedacted = (content.Options & tvqplatform::kSnapshotRedacted) != 0;
  if (!content.Table.Structures.Empty()) {
    kept.table.emplace();
    kept.table->major = content.Table.Major;
    kept.table->minor = content.Table.Minor;
    kept.table->structureCount = content.Table.StructureCount;
    kept.table->structures = CopyOf(content.Table.Structures);
  }
  return kept;
}

Comparison DriverRun::Compare(const Bytes& state, const Origin& origin,
                              const CompareOptions& options) {
  tvqplatform::StoredState saved;
  ReadInto(state, saved);
  tvqplatform::BootSnapshot now;
  mImpl->started->Take(origin, now);
  tvqplatform::Inventory inventory;
  CollectInto(inventory);
  tvqplatform::Comparison result;
  Require(result.Run(saved.Content, now.Get(), tvqplatform::QuestionFor(inventory)));
  return ToComparison(result, options);
}

Comparison DriverRun::CompareStates(const Bytes& before, const Bytes& after,
                                    const CompareOptions& options) {
  tvqplatform::StoredState sides[2];
  ReadInto(before, sides[0]);
  ReadInto(after, sides[1]);
  tvqplatform::Comparison result;
  Require(result.Run(sides[0].Content, sides[1].Content, {}));
  return ToComparison(result, options);
}

}  // namespace tvq::run
