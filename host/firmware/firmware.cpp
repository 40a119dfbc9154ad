/*
 * The machine as its users see it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/firmware.h"

#include <utility>

#include "host/firmware/host_interface.h"
#include "host/firmware/firmware_state.h"

namespace tvq::host {

Firmware::Firmware() : mState(std::make_unique<FirmwareState>()) {}

Firmware::~Firmware() = default;

EFI_SYSTEM_TABLE* Firmware::SystemTable() {
  return mState->Services().TableOf(Owner::Host());
}

EFI_BOOT_SERVICES* Firmware::BootServices() {
  return SystemTable()->BootServices;
}

EFI_RUNTIME_SERVICES* Firmware::RuntimeServices() {
  return SystemTable()->RuntimeServices;
}

EFI_HANDLE Firmware::LoadImage(const Image& image) {
  return mState->images.Load(image);
}

EFI_STATUS Firmware::StartImage(EFI_HANDLE handle) {
  return mState->images.Start(handle);
}

void Firmware::ConstructImage(EFI_HANDLE handle) {
  mState->images.Construct(handle);
}

EFI_STATUS Firmware::UnloadImage(EFI_HANDLE handle) {
  return mState->images.Unload(handle);
}

EFI_SYSTEM_TABLE* Firmware::SystemTableOf(const Image& image) {
  return mState->Services().TableOf(image);
}

EFI_HANDLE Firmware::HandleOf(const Image& image) {
  return mState->images.HandleOf(image);
}

void Firmware::SetPcd(const Image& image, std::string_view name, uint64_t value) {
  mState->images.SetPcd(image, name, value);
}

void Firmware::EnableAssertions(const Owner& owner, bool enabled) {
  mState->images.EnableAssertions(owner, enabled);
}

const std::vector<Assertion>& Firmware::Assertions() const {
  return mState->reports.mAssertions;
}

std::vector<Assertion> Firmware::TakeAssertions() {
  return std::exchange(mState->reports.mAssertions, {});
}

const std::vector<Misuse>& Firmware::Misuses() const {
  return mState->reports.mMisuses;
}

std::vector<Misuse> Firmware::TakeMisuses() {
  return std::exchange(mState->reports.mMisuses, {});
}

void Firmware::KeepDebugOutput(UINTN levels) {
  mState->reports.mKeptLevels = levels;
}

const std::string& Firmware::DebugOutput() const {
  return mState->reports.mOutput;
}

const std::u16string& Firmware::ConsoleOutput() const {
  return mState->console.Output();
}

const std::vector<Variable>& Firmware::Variables() const {
  return mState->variables.All();
}

const Variable* Firmware::FindVariable(std::u16string_view name, const EFI_GUID& guid) const {
  return mState->variables.Find(name, guid);
}

EFI_TPL Firmware::CurrentTpl() const {
  return gTvqHostCore.CurrentTpl();
}

void Firmware::AdvanceTime(uint64_t microseconds) {
  mState->bootServices.Stall(microseconds);
}

void Firmware::SetClock(const EFI_TIME& time) {
  mState->time = time;
}

}  // namespace tvq::host
