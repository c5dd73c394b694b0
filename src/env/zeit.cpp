// The clock of all optimizers: seconds since the first reading in the process.
#include <atomic>
#include <chrono>

#include "env/files.h"

namespace velto {

namespace {
std::atomic<long long> zeropoint{0};
std::atomic<bool> zeroset{false};
}  // namespace

double now(env *) {
  // steady_clock never runs backwards, so no wrap handling is needed.
  long long t = std::chrono::duration_cast<std::chrono::nanoseconds>(
                    std::chrono::steady_clock::now().time_since_epoch())
                    .count();
  if (!zeroset.load(std::memory_order_acquire)) {
    long long expected = 0;
    zeropoint.compare_exchange_strong(expected, t);
    zeroset.store(true, std::memory_order_release);
  }
  return static_cast<double>(t - zeropoint.load()) * 1e-9;
}

}  // namespace velto
