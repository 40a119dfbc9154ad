/*
 * A machine with the reference platform and the driver on it, for measurements.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/bench/measured_driver.h"

#include <stdexcept>
#include <string>

#include "images/agent.h"
#include "images/driver.h"
#include "images/platform.h"

#include <Protocol/DebugLog.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqStartRequest.h>

#include "TvqPlatformPkg/src/agent/attributes.h"
#include "TvqPlatformPkg/src/agent/start.h"
#include "TvqPlatformPkg/src/smbios/capture.h"
#include "TvqPlatformPkg/src/smbios/conform.h"
#include "TvqPlatformPkg/src/smbios/publication.h"

namespace tvq::bench {
namespace {

void Require(EFI_STATUS status, const std::string& what) {
  if (EFI_ERROR(status)) {
    char words[64];
    tvqplatform::StatusInWords(status, words, sizeof(words));
    throw std::runtime_error(what + ": " + words);
  }
}

// What the agent would store of a record: its blobs one behind the other.
Bytes Join(const TVQ_DATA* slots) {
  Bytes joined;
  for (unsigned slot = 0; slot < TVQ_SLOT_TERMINATOR; ++slot) {
    const auto* const bytes = static_cast<const uint8_t*>(slots[slot].Buffer);
    joined.insert(joined.end(), bytes, bytes + slots[slot].Length);
  }
  return joined;
}

}  // namespace

struct MeasuredDriver::Impl {
  struct Record {
    TVQ_INVENTORY_PROTOCOL* protocol;
    Bytes stored;
  };

  explicit Impl(DebugLog log) {
    // As in a RELEASE build; the core's own checks of its lists cost more than its work.
    firmware.EnableAssertions(host::Owner::Core(), false);
    for (const host::Image* image : {&host::images::platform, &host::images::driver}) {
      firmware.EnableAssertions(*image, false);
      Require(firmware.StartImage(firmware.LoadImage(*image)), image->Name());
    }
    firmware.ConstructImage(firmware.LoadImage(host::images::agent));
    if (log == DebugLog::kAbsent) {
      TakeDebugLogOff();
    }
  }

  std::vector<EFI_HANDLE> HandlesWith(const EFI_GUID& guid) {
    UINTN count = 0;
    EFI_HANDLE* found = nullptr;
    if (EFI_ERROR(services->LocateHandleBuffer(ByProtocol, const_cast<EFI_GUID*>(&guid), nullptr,
                                               &count, &found))) {
      return {};
    }
    std::vector<EFI_HANDLE> handles(found, found + count);
    services->FreePool(found);
    return handles;
  }

  void* On(EFI_HANDLE handle, const EFI_GUID& guid) {
    void* interface = nullptr;
    Require(services->HandleProtocol(handle, const_cast<EFI_GUID*>(&guid), &interface),
            "a protocol that is there");
    return interface;
  }

  void TakeDebugLogOff() {
    for (EFI_HANDLE handle : HandlesWith(gDebugLogProtocolGuid)) {
      void* const log = On(handle, gDebugLogProtocolGuid);
      Require(services->UninstallMultipleProtocolInterfaces(handle, &gDebugLogProtocolGuid, log,
                                                            nullptr),
              "taking the debug log off");
    }
  }

  void FindRecords() {
    for (EFI_HANDLE handle : HandlesWith(gTvqInventoryProtocolGuid)) {
      records.push_back(
          {static_cast<TVQ_INVENTORY_PROTOCOL*>(On(handle, gTvqInventoryProtocolGuid)), {}});
    }
  }

  void Get(Record& record, const Meter& meter) {
    TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
    TVQ_DATA result = {};
    meter.begin();
    const EFI_STATUS status = record.protocol->SMTVQGet(record.protocol, &request, &result);
    meter.end();
    Require(status, "Get");
    auto* const slots = static_cast<TVQ_DATA*>(result.Buffer);
    record.stored = Join(slots);
    for (unsigned slot = 0; slot < TVQ_SLOT_TERMINATOR; ++slot) {
      services->FreePool(slots[slot].Buffer);
    }
    services->FreePool(slots);
  }

  // Whether the record could be compared.
  bool Verify(Record& record, const Meter& meter) {
    Bytes& stored = record.stored;
    TVQ_PLATFORM_PROTOCOL* const platform = tvqplatform::FindPlatform();
    Require(platform->AnnounceStoredData(platform, stored.data(), stored.size()),
            "announcing stored data");
    char mode[] = "<Mode>Normal</Mode>";
    TVQ_DATA slots[2] = {{TVQ_DATA_REVISION, static_cast<UINT32>(stored.size()), stored.data()},
                         {TVQ_DATA_REVISION, sizeof(mode), mode}};
    TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
    TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
    UINT32 result = 0;
    meter.begin();
    const EFI_STATUS status =
        record.protocol->SMTVQVerify(record.protocol, &request, &oldData, nullptr, &result);
    meter.end();
    platform->ForgetStoredData(platform, stored.data());
    // Documents are written without escapes: a socket named "CPU<" leaves one that nobody can read.
    if (status == EFI_INVALID_PARAMETER) {
      return false;
    }
    Require(status, "Verify");
    if (result != 0) {
      throw std::runtime_error("Verify takes a device for another one");
    }
    return true;
  }

  host::Firmware firmware;
  EFI_BOOT_SERVICES* services = firmware.BootServices();
  tvqplatform::Publication publication;
  std::vector<Record> records;
};

MeasuredDriver::MeasuredDriver(DebugLog log) : mImpl(std::make_unique<Impl>(log)) {}
MeasuredDriver::~MeasuredDriver() = default;

void MeasuredDriver::Publish(const Bytes& file) {
  tvqplatform::Capture capture;
  tvqplatform::ReadCapturedFile({file.data(), file.size()}, capture);
  if (capture.Error != tvqplatform::CaptureError::kNone) {
    throw std::runtime_error(std::string("the file ") +
                             tvqplatform::CaptureErrorText(capture.Error));
  }
  tvqplatform::ConformedTable conformed;
  const tvqplatform::ConformResult outcome = conformed.Conform(capture.Table.Structures);
  if (tvqplatform::IsRefused(outcome)) {
    throw std::runtime_error(tvqplatform::ConformResultText(outcome));
  }
  tvqplatform::SmbiosTable table = capture.Table;
  table.Structures = conformed.Structures();
  table.StructureCount = static_cast<UINT16>(smbios::Summarize(table.Structures).Count);
  Require(mImpl->publication.Publish(table), "publishing the table");
  mStructures.assign(table.Structures.begin(), table.Structures.end());
  mStructureCount = table.StructureCount;
  mMajorVersion = table.Major;
  mMinorVersion = table.Minor;
}

void MeasuredDriver::Start(const Meter& meter) {
  void* found = nullptr;
  Require(mImpl->services->LocateProtocol(&gTvqStartRequestProtocolGuid, nullptr, &found),
          "finding the start request");
  const auto* const request = static_cast<const TVQ_START_REQUEST*>(found);
  meter.begin();
  const EFI_STATUS status = request->Start(nullptr);
  meter.end();
  Require(status, "the start");
  mImpl->FindRecords();
}

size_t MeasuredDriver::RecordCount() const {
  return mImpl->records.size();
}

uint64_t MeasuredDriver::GetAll(const Meter& meter) {
  uint64_t bytes = 0;
  for (Impl::Record& record : mImpl->records) {
    mImpl->Get(record, meter);
    bytes += record.stored.size();
  }
  return bytes;
}

size_t MeasuredDriver::VerifyAll(const Meter& meter) {
  size_t compared = 0;
  for (Impl::Record& record : mImpl->records) {
    compared += mImpl->Verify(record, meter) ? 1 : 0;
  }
  return compared;
}

host::Firmware& MeasuredDriver::Firmware() {
  return mImpl->firmware;
}

}  // namespace tvq::bench
