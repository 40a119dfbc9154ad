/*
 * The machine as its users see it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/firmware.h"

#include <utility>

#include "host/firmware/host_interface.h"
#include "host/firmware/machine.h"

namespace tvq::host {

Firmware::Firmware() : mMachine(std::make_unique<Machine>()) {}

Firmware::~Firmware() = default;

EFI_SYSTEM_TABLE* Firmware::SystemTable() {
  return mMachine->calls.TableOf(Owner::Host());
}

EFI_BOOT_SERVICES* Firmware::BootServices() {
  return SystemTable()->BootServices;
}

EFI_RUNTIME_SERVICES* Firmware::RuntimeServices() {
  return SystemTable()->RuntimeServices;
}

EFI_HANDLE Firmware::LoadImage(const Image& image) {
  return mMachine->images.Load(image);
}

EFI_STATUS Firmware::StartImage(EFI_HANDLE handle) {
  return mMachine->images.Start(handle);
}

void Firmware::ConstructImage(EFI_HANDLE handle) {
  mMachine->images.Construct(handle);
}

EFI_STATUS Firmware::UnloadImage(EFI_HANDLE handle) {
  return mMachine->images.Unload(handle);
}

EFI_SYSTEM_TABLE* Firmware::SystemTableOf(const Image& image) {
  return mMachine->calls.TableOf(image);
}

EFI_HANDLE Firmware::HandleOf(const Image& image) {
  return mMachine->images.HandleOf(image);
}

void Firmware::SetPcd(const Image& image, std::string_view name, uint64_t value) {
  mMachine->images.SetPcd(image, name, value);
}

Pool& Firmware::Memory() {
  return mMachine->pool;
}

uint64_t Firmware::Calls(const Owner& owner, Service service) const {
  return mMachine->calls.Calls(owner, service);
}

void Firmware::FailCall(const Owner& owner, Service service, uint64_t n, EFI_STATUS status) {
  mMachine->calls.Fail(owner, service, n, status, false);
}

void Firmware::FailCallsFrom(const Owner& owner, Service service, uint64_t n, EFI_STATUS status) {
  mMachine->calls.Fail(owner, service, n, status, true);
}

void Firmware::StopFailingCalls() {
  mMachine->calls.StopFailing();
}

void Firmware::EnableAssertions(const Owner& owner, bool enabled) {
  mMachine->images.EnableAssertions(owner, enabled);
}

const std::vector<Assertion>& Firmware::Assertions() const {
  return mMachine->reports.mAssertions;
}

std::vector<Assertion> Firmware::TakeAssertions() {
  return std::exchange(mMachine->reports.mAssertions, {});
}

const std::vector<Misuse>& Firmware::Misuses() const {
  return mMachine->reports.mMisuses;
}

std::vector<Misuse> Firmware::TakeMisuses() {
  return std::exchange(mMachine->reports.mMisuses, {});
}

void Firmware::KeepDebugOutput(bool keep) {
  mMachine->reports.mKeepOutput = keep;
}

const std::string& Firmware::DebugOutput() const {
  return mMachine->reports.mOutput;
}

const std::u16string& Firmware::ConsoleOutput() const {
  return mMachine->console.Output();
}

const std::vector<Variable>& Firmware::Variables() const {
  return mMachine->variables.All();
}

const Variable* Firmware::FindVariable(std::u16string_view name, const EFI_GUID& guid) const {
  return mMachine->variables.Find(name, guid);
}

EFI_TPL Firmware::CurrentTpl() const {
  return gTvqHostCore.CurrentTpl();
}

void Firmware::AdvanceTime(uint64_t microseconds) {
  mMachine->bootServices.Stall(microseconds);
}

}  // namespace tvq::host
