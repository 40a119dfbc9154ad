/*
 * Wall time on this machine: a start on the table of a file, Get of all records twice, Verify of
 * all records. It includes what the DXE core and the platform take.
 *
 *     tvq_bench_wall_time FILE [options of Google Benchmark]
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>

#include "tests/bench/measured_driver.h"

namespace tvq::bench {
namespace {

using Clock = std::chrono::steady_clock;

Bytes gFile;

// Adds up the time between begin and end.
class Stopwatch {
 public:
  Meter AsMeter() {
    return {[this] { mBegin = Clock::now(); }, [this] { mSpent += Clock::now() - mBegin; }};
  }
  double TakeSeconds() {
    const double seconds = std::chrono::duration<double>(mSpent).count();
    mSpent = {};
    return seconds;
  }

 private:
  Clock::time_point mBegin;
  Clock::duration mSpent = {};
};

// A machine with a started driver; `watch` has the time that the start took.
class Started {
 public:
  explicit Started(Stopwatch& watch) : driver(DebugLog::kAbsent) {
    driver.Publish(gFile);
    driver.Start(watch.AsMeter());
  }

  MeasuredDriver driver;
};

void Start(benchmark::State& state) {
  Stopwatch watch;
  while (state.KeepRunning()) {
    const Started started(watch);
    state.SetIterationTime(watch.TakeSeconds());
  }
}
BENCHMARK(Start)->UseManualTime()->Unit(benchmark::kMicrosecond);

void GetFirst(benchmark::State& state) {
  Stopwatch watch;
  while (state.KeepRunning()) {
    Started started(watch);
    watch.TakeSeconds();
    started.driver.GetAll(watch.AsMeter());
    state.SetIterationTime(watch.TakeSeconds());
  }
}
BENCHMARK(GetFirst)->UseManualTime()->Unit(benchmark::kMicrosecond);

void GetAgain(benchmark::State& state) {
  Stopwatch watch;
  Started started(watch);
  started.driver.GetAll(watch.AsMeter());
  watch.TakeSeconds();
  while (state.KeepRunning()) {
    started.driver.GetAll(watch.AsMeter());
    state.SetIterationTime(watch.TakeSeconds());
  }
}
BENCHMARK(GetAgain)->UseManualTime()->Unit(benchmark::kMicrosecond);

void Verify(benchmark::State& state) {
  Stopwatch watch;
  Started started(watch);
  started.driver.GetAll(watch.AsMeter());
  watch.TakeSeconds();
  while (state.KeepRunning()) {
    started.driver.VerifyAll(watch.AsMeter());
    state.SetIterationTime(watch.TakeSeconds());
  }
}
BENCHMARK(Verify)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tvq::bench

int main(int count, char** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: %s FILE [options of Google Benchmark]\n", arguments[0]);
    return 2;
  }
  std::ifstream file(arguments[1], std::ios::binary);
  tvq::bench::gFile.assign(std::istreambuf_iterator<char>(file), {});
  try {
    arguments[1] = arguments[0];
    int left = count - 1;
    benchmark::Initialize(&left, arguments + 1);
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 2;
  }
  return 0;
}
