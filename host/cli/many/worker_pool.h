/*
 * Work on many items in several processes. What crashes on one item takes no other with it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MANY_WORKER_POOL_H_
#define TVQ_HOST_CLI_MANY_WORKER_POOL_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace tvq::cli {

// What became of one item.
struct WorkResult {
  std::uint32_t status = 0;
  std::string out;
  std::string diagnostics;
  std::string crash;  // how its worker ended; empty where it did not
};

using Work = std::function<WorkResult(std::size_t item)>;
using TakeResult = std::function<void(std::size_t item, WorkResult&& result)>;

// One worker for each processor that this process may run on.
unsigned ProcessorCount();

// Does the work on the items 0 to `count` - 1 in so many processes, and hands the results over in the
// order of the items. Only a few results wait for one before them at a time. A worker keeps what
// it changes from item to item. Throws std::system_error where no worker can be started.
void WorkInOrder(std::size_t count, unsigned workers, const Work& work, const TakeResult& take);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MANY_WORKER_POOL_H_
