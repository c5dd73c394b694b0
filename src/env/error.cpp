// Error and solution status tables, the error hash of an environment, and
// the two exported text functions.
#include "env/error.h"

#include <cstdio>
#include <cstring>

namespace velto {

namespace {

struct errrow {
  int code;
  const char *text;
};

// Closed by a row with code 0.
constexpr errrow kErrTable[] = {
#define VLTERR(code, text) {code, text},
#include "env/error.def"
#undef VLTERR
    {0, "End of error table"},
};
constexpr int kErrRows = static_cast<int>(sizeof kErrTable / sizeof kErrTable[0]) - 1;

struct statrow {
  int value;
  const char *text;
};

constexpr statrow kStatTable[] = {
#define VLTSTAT(value, name, text) {value, text},
#include "env/status.def"
#undef VLTSTAT
    {0, nullptr},
};

// "VELTO Error %5d: " is 19 characters for any code up to 99999, ".\n" and
// the closing zero 3 more: every text must leave that room in the buffer.
constexpr bool textsfit() {
  for (int i = 0; i < kErrRows; ++i) {
    int n = 0;
    while (kErrTable[i].text[n] != '\0') ++n;
    if (19 + n + 3 > kErrStringSize) return false;
  }
  return true;
}
static_assert(textsfit(), "an error text does not fit the message buffer");

constexpr bool codesunique() {
  for (int i = 0; i < kErrRows; ++i) {
    if (kErrTable[i].code <= 0 || kErrTable[i].code > 99999) return false;
    for (int j = 0; j < i; ++j)
      if (kErrTable[i].code == kErrTable[j].code) return false;
  }
  return true;
}
static_assert(codesunique(), "error codes must be positive and unique");
static_assert(kErrRows < kErrHashSize, "the error hash needs an empty slot");

inline int hashstart(int code) { return code % kErrHashSize; }
inline int hashstep(int code) { return 477 - code % 477; }

int hashfind(const env *e, int code) {
  int s = hashstart(code);
  const int step = hashstep(code);
  for (int probes = 0; probes < kErrHashSize; ++probes) {
    int row = e->errhash[s];
    if (row < 0) return -1;
    if (kErrTable[row].code == code) return row;
    s = (s + step) % kErrHashSize;
  }
  return -1;
}

int walkfind(int code) {
  for (int i = 0; i < kErrRows; ++i)
    if (kErrTable[i].code == code) return i;
  return -1;
}

}  // namespace

void builderrhash(env *e) {
  for (int &s : e->errhash) s = -1;
  for (int row = 0; row < kErrRows; ++row) {
    const int code = kErrTable[row].code;
    int s = hashstart(code);
    const int step = hashstep(code);
    while (e->errhash[s] != -1) s = (s + step) % kErrHashSize;
    e->errhash[s] = row;
  }
}

const char *errtabletext(const env *e, int code) {
  if (code < 1) return nullptr;
  int row = checkenv(e) ? hashfind(e, code) : walkfind(code);
  return row < 0 ? nullptr : kErrTable[row].text;
}

int errtablesize() { return kErrRows; }
int errtablecode(int i) { return (i >= 0 && i < kErrRows) ? kErrTable[i].code : 0; }

const char *stattext(int value) {
  for (const statrow *r = kStatTable; r->value != 0; ++r)
    if (r->value == value) return r->text;
  return nullptr;
}

}  // namespace velto

using namespace velto;

extern "C" {

const char *VLTgeterrorstring(VLTCENVptr env, int code, char *buffer) {
  if (code < 1 || code > 99999 || buffer == nullptr) return nullptr;
  const char *text = errtabletext(env, code);
  std::snprintf(buffer, kErrStringSize, "VELTO Error %5d: %s.\n", code,
                text != nullptr ? text : "Unknown error code");
  return text != nullptr ? buffer : nullptr;
}

const char *VLTgetstatstring(VLTCENVptr, int statind, char *buffer) {
  if (buffer == nullptr) return nullptr;
  const char *text = stattext(statind);
  std::strcpy(buffer, text != nullptr ? text : "Unknown status value");
  return text != nullptr ? buffer : nullptr;
}

}  // extern "C"
