/*
 * Saved states beside the machine of a run: which machine they are of, what is missing in them, and how they are changed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_SAVED_STATES_H_
#define TVQ_HOST_RUN_SAVED_STATES_H_

#include "host/run/started.h"

#include "TvqPlatformPkg/src/states/state_format.h"

namespace tvq::run {

// Reads a state. Throws StateError. The bytes have to stay.
void ReadInto(const Bytes& file, tvqplatform::StoredState& state);

StateFile CheckStateFile(const Bytes& file, uint64_t number);

StateFit FitOf(const tvqplatform::Snapshot& now, const tvqplatform::StoredState& saved);

// The file of a snapshot.
Bytes FileOf(const tvqplatform::Snapshot& snapshot, uint64_t generation, uint64_t time);

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_SAVED_STATES_H_
