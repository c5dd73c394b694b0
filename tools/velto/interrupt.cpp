#include "interrupt.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

extern "C" void on_interrupt(int) {
  g_interrupted = 1;
  // The next Ctrl-C is the platform's: the user insists.
  std::signal(SIGINT, SIG_DFL);
}

int poll_interrupt(VLTCENVptr, void *, int, void *) { return g_interrupted != 0; }

}  // namespace

void interrupt_install(VLTENVptr env) {
  std::signal(SIGINT, on_interrupt);
  VLTsetlpcallbackfunc(env, poll_interrupt, nullptr);
}

bool interrupt_seen() { return g_interrupted != 0; }
