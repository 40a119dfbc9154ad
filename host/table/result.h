/*
 * A value, or what is wrong and where.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_RESULT_H_
#define TVQ_HOST_TABLE_RESULT_H_

#include <cstddef>
#include <string>
#include <utility>
#include <variant>

namespace tvq::table {

struct Error {
  std::string message;
  std::string hint;      // what to do about it; may be empty
  std::size_t line = 0;  // of the source, from 1; 0 where no line is to blame
};

template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : mState(std::move(value)) {}
  Result(Error error) : mState(std::move(error)) {}

  explicit operator bool() const { return std::holds_alternative<T>(mState); }
  T& operator*() { return std::get<T>(mState); }
  const T& operator*() const { return std::get<T>(mState); }
  T* operator->() { return &**this; }
  const T* operator->() const { return &**this; }
  Error& Failure() { return std::get<Error>(mState); }
  const Error& Failure() const { return std::get<Error>(mState); }

 private:
  std::variant<T, Error> mState;
};

// The value of a step that has none.
struct Done {};

}  // namespace tvq::table

// Returns the failure of `step`, a Result<Done>, to the caller's caller.
#define TVQ_TRY(step)                     \
  do {                                    \
    if (auto tried_ = (step); !tried_) {  \
      return std::move(tried_.Failure()); \
    }                                     \
  } while (false)

#endif  // TVQ_HOST_TABLE_RESULT_H_
