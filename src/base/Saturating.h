#pragma once

#include <cstdint>

namespace velmora {

// Sums and products of stored numbers, which a user may have edited by hand: beyond 64 bits they
// stop at the nearest end.
constexpr int64_t saturatingSum(int64_t a, int64_t b) {
  int64_t out = 0;
  if (!__builtin_add_overflow(a, b, &out)) return out;
  return b > 0 ? INT64_MAX : INT64_MIN;
}
constexpr int64_t saturatingDifference(int64_t a, int64_t b) {
  int64_t out = 0;
  if (!__builtin_sub_overflow(a, b, &out)) return out;
  return b < 0 ? INT64_MAX : INT64_MIN;
}
constexpr int64_t saturatingProduct(int64_t a, int64_t b) {
  int64_t out = 0;
  if (!__builtin_mul_overflow(a, b, &out)) return out;
  return (a < 0) == (b < 0) ? INT64_MAX : INT64_MIN;
}

}  // namespace velmora
