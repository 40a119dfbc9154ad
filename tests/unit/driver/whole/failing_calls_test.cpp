/*
 * Every call that the driver makes fails once alone, and once with all that follow: memory, each boot and runtime
 * service, each operation of the platform; in the entry point, the start, Get, Verify, the device-list entry and the
 * unload handler. Nothing is freed twice, nothing is lost that a life without failures gives back, and what was
 * published keeps serving.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/unit/driver/whole/failing_platform.h"

#include <IndustryStandard/TvqBlob.h>

namespace tvq::test {
namespace {

using host::Owner;
using host::Service;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

Owner Driver() {
  return host::images::driver;
}

// The services that return a status.
const Service kServices[] = {
#define BOOT_SERVICE(name, parameters, arguments) Service::name,
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments)
#define BOOT_SERVICE_LIST(name, handle) Service::name,
#define RUNTIME_SERVICE(name, parameters, arguments) Service::name,
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments)
#include "host/firmware/services.def"
};

// One life of the driver, step by step. Each step asks all records and returns the last status that is no success.
class Life {
 public:
  explicit Life(bool hasLog)
      : mPlatform(hasLog ? std::initializer_list<Part>{}
                         : std::initializer_list<Part>{Part::kDebugLog}) {
    mPlatform.Harness().Publish(MinimalServer());
  }

  FailingPlatform& Platform() { return mPlatform; }
  DriverHarness& Harness() { return mPlatform.Harness(); }
  host::Firmware& Firmware() { return Harness().Firmware(); }

  // Finds what the next step takes, so that nothing but the driver calls a service in it.
  void Look();

  EFI_STATUS Enter() { return Harness().Load(); }
  EFI_STATUS Start() { return mRequest->Start(nullptr); }
  EFI_STATUS ShowLog() {
    EFI_HANDLE handle = nullptr;
    return Harness().BootServices()->InstallProtocolInterface(
        &handle, &gDebugLogProtocolGuid, EFI_NATIVE_INTERFACE, &Harness().platform.debugLog);
  }
  EFI_STATUS Get();
  EFI_STATUS Verify() { return AskToVerify(false); }
  EFI_STATUS VerifyWithResponse() { return AskToVerify(true); }
  EFI_STATUS AskNames();
  // The image stays, so that its records can still be asked.
  EFI_STATUS CallUnload() { return mUnload(Harness().ImageHandle()); }

  // A document whose numbers could not be printed is kept, and compared as it is.
  void AllowMissingNumbers() { mMayLackNumbers = true; }

  const std::vector<RecordHandle>& Records() const { return mRecords; }
  size_t Blocks() { return Firmware().Memory().LiveCount(Driver()); }

 private:
  // Gets the blobs of a record; keeps the configuration blob as what was stored.
  EFI_STATUS GetFrom(const RecordHandle& record);
  EFI_STATUS AskToVerify(bool withResponse);
  void Free(VOID* block) {
    if (block != nullptr) {
      Harness().BootServices()->FreePool(block);
    }
  }

  FailingPlatform mPlatform;
  TVQ_START_REQUEST* mRequest = nullptr;
  EFI_IMAGE_UNLOAD mUnload = nullptr;
  std::vector<RecordHandle> mRecords;
  std::vector<std::vector<UINT8>> mStored;
  bool mMayLackNumbers = false;
};

void Life::Look() {
  if (Harness().ImageHandle() != nullptr) {
    mRequest = Harness().StartRequest();
    mUnload = Harness().LoadedImage()->Unload;
  }
  mRecords = Harness().Records();
  // In the call of the unload handler that it refuses, the firmware takes an interface off and puts it back, which takes
  // memory.
  mRecords.erase(
      std::remove_if(mRecords.begin(), mRecords.end(),
                     [](const RecordHandle& record) { return record.protocol == nullptr; }),
      mRecords.end());
}

EFI_STATUS Life::GetFrom(const RecordHandle& record) {
  const Served served = Harness().Get(record);
  mStored.emplace_back();
  if (EFI_ERROR(served.status)) {
    return served.status;
  }
  mStored.back() = served.blobs.at(TVQ_SLOT_CONFIGURATION);
  return served.IsWhole() ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES;
}

EFI_STATUS Life::Get() {
  mStored.clear();
  EFI_STATUS failure = EFI_SUCCESS;
  for (const RecordHandle& record : mRecords) {
    const EFI_STATUS status = GetFrom(record);
    failure = EFI_ERROR(status) ? status : failure;
  }
  return failure;
}

EFI_STATUS Life::AskToVerify(bool withResponse) {
  EFI_STATUS failure = EFI_SUCCESS;
  size_t i = 0;
  for (const RecordHandle& record : mRecords) {
    std::vector<UINT8>& stored = mStored[i++];
    char mode[] = "<Mode>Normal</Mode>";
    TVQ_DATA slots[] = {{TVQ_DATA_REVISION, static_cast<UINT32>(stored.size()), stored.data()},
                        {TVQ_DATA_REVISION, sizeof(mode), mode}};
    TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
    TVQ_DATA text = {};
    TVQ_DATA response = {TVQ_DATA_REVISION, sizeof(text), &text};
    TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
    UINT32 result = 0xFFFFFFFF;
    mPlatform.Store(stored.data());
    const EFI_STATUS status = record.protocol->SMTVQVerify(
        record.protocol, &request, &oldData, withResponse ? &response : nullptr, &result);
    Free(text.Buffer);
    if (!mMayLackNumbers) {
      EXPECT_EQ(result, 0u) << "nothing was replaced";
    }
    failure = EFI_ERROR(status) ? status : failure;
  }
  return failure;
}

EFI_STATUS Life::AskNames() {
  EFI_STATUS failure = EFI_SUCCESS;
  for (const RecordHandle& record : mRecords) {
    if (record.entryInterface == nullptr) {
      continue;  // There was no memory for it.
    }
    CHAR8 language[] = "en-US";
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    const EFI_STATUS status = record.entryInterface->GetDeviceName(
        record.entryInterface, record.devicePath, language, &name, &fqdd);
    EXPECT_EQ(name == nullptr, EFI_ERROR(status));
    EXPECT_EQ(fqdd == nullptr, EFI_ERROR(status));
    Free(name);
    Free(fqdd);
    failure = EFI_ERROR(status) ? status : failure;
  }
  return failure;
}

// --- What can be asked of the driver, and what has to happen before ---

using Step = EFI_STATUS (Life::*)();

struct Scene {
  const char* name;
  bool hasLog;
  std::vector<Step> before;
  Step step;
  // Whether a failure may leave blocks that a life without failures does not: what a start leaves is compared with a
  // model elsewhere, Get deliberately leaves two blobs, and an unload handler that finds no records ends at once.
  bool mayLeaveBlocks = false;
};

const std::vector<Step> kLoaded = {&Life::Enter};
const std::vector<Step> kStarted = {&Life::Enter, &Life::Start};
const std::vector<Step> kAsked = {&Life::Enter, &Life::Start, &Life::Get};

const Scene kScenes[] = {
    {"EntryPoint", true, {}, &Life::Enter},
    {"Start", true, kLoaded, &Life::Start, true},
    {"StartWithoutADebugLog", false, kLoaded, &Life::Start, true},
    {"DebugLogAppears", false, kStarted, &Life::ShowLog},
    {"SecondStart", true, kStarted, &Life::Start, true},
    {"FirstGet", true, kStarted, &Life::Get, true},
    {"SecondGet", true, kAsked, &Life::Get, true},
    {"Verify", true, kAsked, &Life::Verify},
    {"VerifyWithResponse", true, kAsked, &Life::VerifyWithResponse},
    {"GetDeviceName", true, kStarted, &Life::AskNames},
    {"Unload", true, kAsked, &Life::CallUnload, true},
};

// --- What can fail ---

struct Fault {
  std::string name;
  std::function<uint64_t(Life&)> calls;
  std::function<void(Life&, uint64_t n, bool following)> arm;
};

Fault ServiceFault(Service service) {
  return {ServiceName(service),
          [service](Life& life) { return life.Firmware().Calls(Driver(), service); },
          [service](Life& life, uint64_t n, bool following) {
            const EFI_STATUS status =
                service == Service::AllocatePool ? EFI_OUT_OF_RESOURCES : EFI_DEVICE_ERROR;
            following ? life.Firmware().FailCallsFrom(Driver(), service, n, status)
                      : life.Firmware().FailCall(Driver(), service, n, status);
          }};
}

Fault OperationFault(Operation operation) {
  return {OperationName(operation),
          [operation](Life& life) { return life.Platform().Calls(operation); },
          [operation](Life& life, uint64_t n, bool following) {
            life.Platform().Fail(operation, n, following);
          }};
}

// Also what the core allocates to carry out a service of the driver's, and the parser for a document.
Fault AnybodysAllocation() {
  return {"memory for anybody", [](Life& life) { return life.Firmware().Memory().Allocations(); },
          [](Life& life, uint64_t n, bool following) {
            host::Pool& memory = life.Firmware().Memory();
            following ? memory.FailFromAllocation(n) : memory.FailAllocation(n);
          }};
}

std::vector<Fault> AllFaults() {
  std::vector<Fault> faults = {AnybodysAllocation()};
  for (const Service service : kServices) {
    faults.push_back(ServiceFault(service));
  }
  for (unsigned i = 0; i < static_cast<unsigned>(Operation::kCount); ++i) {
    faults.push_back(OperationFault(static_cast<Operation>(i)));
  }
  return faults;
}

// --- The loop ---

class EveryCall : public testing::TestWithParam<Scene> {
 protected:
  // A life up to the scene.
  std::unique_ptr<Life> Prepare() {
    auto life = std::make_unique<Life>(GetParam().hasLog);
    for (const Step step : GetParam().before) {
      life->Look();
      EXPECT_EQ((life.get()->*step)(), EFI_SUCCESS);
    }
    life->Look();
    return life;
  }

  EFI_STATUS Play(Life& life) { return (life.*GetParam().step)(); }

  // Calls that the scene makes without failures.
  uint64_t CallsIn(const Fault& fault) {
    const std::unique_ptr<Life> life = Prepare();
    const uint64_t before = fault.calls(*life);
    Play(*life);
    return fault.calls(*life) - before;
  }

  size_t BlocksWithoutFailures() {
    const std::unique_ptr<Life> life = Prepare();
    Play(*life);
    return life->Blocks();
  }

  void PlayWith(const Fault& fault, uint64_t n, bool following, size_t mostBlocks);
  static void ExpectServes(Life& life);
};

// What stands on the records works once the failures are over.
void EveryCall::ExpectServes(Life& life) {
  EXPECT_EQ(life.Get(), EFI_SUCCESS);
  EXPECT_EQ(life.Verify(), EFI_SUCCESS);
  EXPECT_EQ(life.AskNames(), EFI_SUCCESS);
}

void EveryCall::PlayWith(const Fault& fault, uint64_t n, bool following, size_t mostBlocks) {
  const std::unique_ptr<Life> life = Prepare();
  if (fault.name == OperationName(Operation::kAsciiVSPrint)) {
    life->AllowMissingNumbers();
  }
  fault.arm(*life, n, following);
  Play(*life);
  life->Firmware().Memory().StopFailing();
  life->Firmware().StopFailingCalls();
  life->Platform().StopFailing();
  life->Look();
  EXPECT_THAT(life->Firmware().Misuses(), IsEmpty());
  EXPECT_THAT(life->Firmware().Assertions(), IsEmpty());
  // A block that cannot be freed stays.
  if (!GetParam().mayLeaveBlocks && fault.name != ServiceName(Service::FreePool)) {
    EXPECT_LE(life->Blocks(), mostBlocks) << "blocks were lost";
  }
  ExpectServes(*life);
}

TEST_P(EveryCall, MayFail) {
  const size_t mostBlocks = BlocksWithoutFailures();
  for (const Fault& fault : AllFaults()) {
    const uint64_t calls = CallsIn(fault);
    for (uint64_t n = 1; n <= calls && !HasFailure(); ++n) {
      for (const bool following : {false, true}) {
        SCOPED_TRACE(fault.name + ", call " + std::to_string(n) +
                     (following ? " and all that follow" : " alone"));
        PlayWith(fault, n, following, mostBlocks);
      }
    }
  }
}

std::string NameOf(const testing::TestParamInfo<Scene>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, EveryCall, testing::ValuesIn(kScenes), NameOf);

// Which services there are to fail. One that is missing here and called by the driver has failed in the tests above;
// its name belongs here, so that nobody takes a new call for one that was there before.
TEST(TheDriver, CallsNoOtherServicesThanThese) {
  std::set<std::string> called;
  for (const Scene& scene : kScenes) {
    Life life(scene.hasLog);
    for (const Step step : scene.before) {
      life.Look();
      (life.*step)();
    }
    life.Look();
    (life.*scene.step)();
    for (const Fault& fault : AllFaults()) {
      if (fault.calls(life) != 0) {
        called.insert(fault.name);
      }
    }
  }
  EXPECT_THAT(called,
              UnorderedElementsAre(
                  "memory for anybody", "AllocatePool", "FreePool", "CreateEvent", "SignalEvent",
                  "RegisterProtocolNotify", "LocateProtocol", "InstallMultipleProtocolInterfaces",
                  "OpenProtocol", "CloseProtocol", "HandleProtocol", "LocateHandleBuffer",
                  "UninstallMultipleProtocolInterfaces", "SetVariable", "RegisterAttribute",
                  "SetAttributeValue", "AsciiStrCpyS", "AsciiStrnCpyS", "AsciiVSPrint",
                  "LocateBlob", "XML Parse", "XML Free"));
}

}  // namespace
}  // namespace tvq::test
