/*
 * Who called: the stack by frame pointers, and the names of its functions from the program's debug
 * information.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cxxabi.h>
#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "host/firmware/firmware.h"
#include "host/firmware/reports.h"

namespace tvq::host {
namespace {

struct StackBounds {
  uintptr_t low = 0;
  uintptr_t high = 0;
};

StackBounds FindStack() {
  StackBounds bounds;
  pthread_attr_t attributes;
  void* address = nullptr;
  size_t size = 0;
  if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
    pthread_attr_getstack(&attributes, &address, &size);
    pthread_attr_destroy(&attributes);
    bounds.low = reinterpret_cast<uintptr_t>(address);
    bounds.high = bounds.low + size;
  }
  return bounds;
}

// What a function pushes first when it keeps a frame pointer.
struct Frame {
  const Frame* caller;
  uintptr_t returnAddress;
};

// The names at one address: the function and those that were inlined into it, innermost first.
class Symbols {
 public:
  static Symbols& Instance() {
    static Symbols symbols;
    return symbols;
  }

  const std::vector<std::string>& At(uintptr_t address) {
    auto [found, isNew] = mKnown.try_emplace(address);
    if (isNew) {
      found->second = Resolve(address);
    }
    return found->second;
  }

 private:
  Symbols() : mSession(dwfl_begin(&kCallbacks)) {
    if (mSession == nullptr || dwfl_linux_proc_report(mSession, getpid()) != 0 ||
        dwfl_report_end(mSession, nullptr, nullptr) != 0) {
      Die("this program's debug information cannot be read");
    }
  }

  std::vector<std::string> Resolve(uintptr_t address) {
    Dwfl_Module* const module = dwfl_addrmodule(mSession, address);
    if (module == nullptr) {
      return {};
    }
    std::vector<std::string> names = FromDebugInformation(module, address);
    if (names.empty()) {
      if (const char* symbol = dwfl_module_addrname(module, address); symbol != nullptr) {
        names.push_back(PlainName(symbol));
      }
    }
    return names;
  }

  static std::vector<std::string> FromDebugInformation(Dwfl_Module* module, uintptr_t address) {
    std::vector<std::string> names;
    Dwarf_Addr bias = 0;
    Dwarf_Die* const unit = dwfl_module_addrdie(module, address, &bias);
    Dwarf_Die* scopes = nullptr;
    if (unit == nullptr || dwarf_getscopes(unit, address - bias, &scopes) <= 0) {
      return names;
    }
    // From the innermost scope outwards along the code; dwarf_getscopes follows the source instead.
    Dwarf_Die* outwards = nullptr;
    const int count = dwarf_getscopes_die(&scopes[0], &outwards);
    for (int index = 0; index < count; ++index) {
      const int tag = dwarf_tag(&outwards[index]);
      if (tag == DW_TAG_subprogram || tag == DW_TAG_inlined_subroutine) {
        const char* const name = dwarf_diename(&outwards[index]);
        names.push_back(name != nullptr ? name : "?");
      }
    }
    std::free(outwards);
    std::free(scopes);
    return names;
  }

  // "driver._Z3Fooi" becomes "Foo": without the image, parameters and namespaces.
  static std::string PlainName(std::string name) {
    if (const size_t dot = name.find("._Z"); dot != std::string::npos) {
      name.erase(0, dot + 1);
    }
    constexpr std::string_view kAnonymous = "(anonymous namespace)::";
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> demangled(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
    if (demangled != nullptr) {
      name = demangled.get();
      for (size_t start; (start = name.find(kAnonymous)) != std::string::npos;) {
        name.erase(start, kAnonymous.size());
      }
      name.erase(std::min(name.find_first_of("(<"), name.size()));
    }
    const size_t qualifier = name.find_last_of(".:");
    return qualifier == std::string::npos ? name : name.substr(qualifier + 1);
  }

  static int FindDebugInfo(Dwfl_Module*, void**, const char*, Dwarf_Addr, const char*, const char*,
                           GElf_Word, char**) {
    return -1;  // only what the files themselves hold
  }

  static constexpr Dwfl_Callbacks kCallbacks = {dwfl_linux_proc_find_elf, FindDebugInfo, nullptr,
                                                nullptr};
  Dwfl* mSession;
  std::unordered_map<uintptr_t, std::vector<std::string>> mKnown;
};

}  // namespace

__attribute__((noinline, no_sanitize("address", "undefined"))) CallSite CallSite::Here(
    size_t skip) {
  static thread_local const StackBounds stack = FindStack();
  CallSite site;
  const Frame* frame = static_cast<const Frame*>(__builtin_frame_address(0));
  while (site.mCount < kMaxFrames) {
    const uintptr_t address = reinterpret_cast<uintptr_t>(frame);
    if (address < stack.low || address > stack.high - sizeof(Frame) ||
        address % sizeof(uintptr_t) != 0) {
      break;
    }
    const Frame* const caller = frame->caller;
    if (skip > 0) {
      --skip;
    } else {
      site.mFrames[site.mCount++] = frame->returnAddress;
    }
    // Code without frame pointers uses the register for something else.
    if (caller <= frame) {
      break;
    }
    frame = caller;
  }
  return site;
}

std::vector<std::string> CallSite::Functions() const {
  std::vector<std::string> names;
  for (size_t index = 0; index < mCount; ++index) {
    // A return address may be the first one of the next function.
    const std::vector<std::string>& found = Symbols::Instance().At(mFrames[index] - 1);
    names.insert(names.end(), found.begin(), found.end());
  }
  return names;
}

bool CallSite::Has(std::string_view function) const {
  const std::vector<std::string> names = Functions();
  return std::find(names.begin(), names.end(), function) != names.end();
}

std::string CallSite::ToString() const {
  std::string text;
  for (const std::string& name : Functions()) {
    text += (text.empty() ? "" : " < ") + name;
  }
  return text;
}

}  // namespace tvq::host
