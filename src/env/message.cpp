// Message channels: lists of destinations (streams or application functions)
// through which all library text is delivered.
#include <cstring>

#include "env/env.h"

namespace velto {

namespace {

constexpr int kDestFile = 1;
constexpr int kDestFunc = 3;

int pushdest(velto_channel *ch, int kind, FILE *fp, void *handle, VLTMSGFUNC func) {
  velto_dest *d = static_cast<velto_dest *>(alloczero(1, sizeof(velto_dest)));
  if (d == nullptr) return kNoMemory;
  d->channel = ch;
  d->kind = kind;
  d->fp = fp;
  d->handle = handle;
  d->func = func;
  d->next = ch->head;  // the destination added last receives first
  ch->head = d;
  return 0;
}

bool hasfp(const velto_channel *ch, FILE *fp) {
  for (const velto_dest *d = ch->head; d != nullptr; d = d->next)
    if (d->kind == kDestFile && d->fp == fp) return true;
  return false;
}

// Removes the first file destination with stream fp; false if none.
bool removefp(velto_channel *ch, FILE *fp) {
  for (velto_dest **p = &ch->head; *p != nullptr; p = &(*p)->next) {
    if ((*p)->kind == kDestFile && (*p)->fp == fp) {
      velto_dest *dead = *p;
      *p = dead->next;
      release(&dead);
      return true;
    }
  }
  return false;
}

void disconnect(velto_channel *ch) {
  while (ch->head != nullptr) {
    velto_dest *d = ch->head;
    if (d->kind == kDestFile && d->fp != nullptr) std::fflush(d->fp);
    ch->head = d->next;
    release(&d);
  }
}

}  // namespace

int vmsg(velto_channel *ch, const char *fmt, va_list ap) {
  char buf[1024];
  int n = std::vsnprintf(buf, sizeof buf, fmt, ap);
  if (n < 0) {
    buf[0] = '\0';
    n = 0;
  }
  // A longer text is cut to the buffer; the length returned is what was sent.
  if (n >= static_cast<int>(sizeof buf)) n = static_cast<int>(sizeof buf) - 1;
  if (ch != nullptr) {
    for (velto_dest *d = ch->head; d != nullptr; d = d->next) {
      if (d->kind == kDestFile)
        std::fputs(buf, d->fp);
      else if (d->kind == kDestFunc)
        d->func(d->handle, buf);
    }
  }
  return n;
}

int msg(velto_channel *ch, const char *fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  int n = vmsg(ch, fmt, ap);
  va_end(ap);
  return n;
}

void screenswitch(env *e, int on) {
  velto_channel *chs[3] = {e->reschannel, e->warnchannel, e->errchannel};
  for (velto_channel *ch : chs) {
    if (ch == nullptr) continue;
    if (on) {
      if (!hasfp(ch, stdout)) pushdest(ch, kDestFile, stdout, nullptr, nullptr);
    } else {
      removefp(ch, stdout);
    }
  }
}

void chanfree(velto_channel **ch) {
  if (*ch == nullptr) return;
  disconnect(*ch);
  release(ch);
}

}  // namespace velto

using namespace velto;

extern "C" {

VLTCHANNELptr VLTaddchannel(VLTENVptr env) {
  int status = 0;
  if (!checkenv(env)) return nullptr;
  velto_channel *ch = static_cast<velto_channel *>(alloczero(1, sizeof(velto_channel)));
  if (ch == nullptr) {
    status = kNoMemory;
  } else if ((status = resadd(env, kResChannel, ch)) != 0) {
    release(&ch);
  }
  if (status != 0) report(env, &status);
  return ch;
}

void VLTdelchannel(VLTENVptr env, VLTCHANNELptr *channel_p) {
  if (!checkenv(env) || channel_p == nullptr || *channel_p == nullptr) return;
  resremove(env, *channel_p);
  chanfree(channel_p);
}

int VLTdisconnectchannel(VLTENVptr env, VLTCHANNELptr channel) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr)
    status = kNoChannel;
  else
    disconnect(channel);
  report(env, &status);
  return status;
}

int VLTflushchannel(VLTENVptr env, VLTCHANNELptr channel) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr) {
    status = kNoChannel;
  } else {
    for (velto_dest *d = channel->head; d != nullptr; d = d->next)
      if (d->kind == kDestFile && d->fp != nullptr) std::fflush(d->fp);
  }
  report(env, &status);
  return status;
}

int VLTaddfpdest(VLTENVptr env, VLTCHANNELptr channel, FILE *fp) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr)
    status = kNoChannel;
  else if (fp == nullptr)
    status = kNoFile;
  else
    status = pushdest(channel, kDestFile, fp, nullptr, nullptr);
  report(env, &status);
  return status;
}

int VLTdelfpdest(VLTENVptr env, VLTCHANNELptr channel, FILE *fp) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr)
    status = kNoChannel;
  else if (!removefp(channel, fp))
    status = kNoFile;
  report(env, &status);
  return status;
}

int VLTaddfuncdest(VLTENVptr env, VLTCHANNELptr channel, void *handle, VLTMSGFUNC func) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr)
    status = kNoChannel;
  else if (func == nullptr)
    status = kNoFunction;
  else
    status = pushdest(channel, kDestFunc, nullptr, handle, func);
  report(env, &status);
  return status;
}

int VLTdelfuncdest(VLTENVptr env, VLTCHANNELptr channel, void *handle, VLTMSGFUNC func) {
  int status = kNoFunction;
  if (!checkenv(env)) return kNoEnvironment;
  if (channel == nullptr) {
    status = kNoChannel;
  } else {
    for (velto_dest **p = &channel->head; *p != nullptr; p = &(*p)->next) {
      if ((*p)->kind == kDestFunc && (*p)->handle == handle && (*p)->func == func) {
        velto_dest *dead = *p;
        *p = dead->next;
        release(&dead);
        status = 0;
        break;
      }
    }
  }
  report(env, &status);
  return status;
}

int VLTmsg(VLTCHANNELptr channel, const char *format, ...) {
  if (format == nullptr) return 0;
  va_list ap;
  va_start(ap, format);
  int n = vmsg(channel, format, ap);
  va_end(ap);
  return n;
}

int VLTmsgstr(VLTCHANNELptr channel, const char *text) {
  if (text == nullptr) return 0;
  return msg(channel, "%s", text);
}

int VLTgetchannels(VLTENVptr env, VLTCHANNELptr *results_p, VLTCHANNELptr *warning_p,
                   VLTCHANNELptr *error_p, VLTCHANNELptr *log_p) {
  if (!checkenv(env)) return kNoEnvironment;
  if (results_p != nullptr) *results_p = env->reschannel;
  if (warning_p != nullptr) *warning_p = env->warnchannel;
  if (error_p != nullptr) *error_p = env->errchannel;
  if (log_p != nullptr) *log_p = env->logchannel;
  return 0;
}

int VLTflushstdchannels(VLTENVptr env) {
  if (!checkenv(env)) return kNoEnvironment;
  velto_channel *chs[4] = {env->reschannel, env->logchannel, env->errchannel, env->warnchannel};
  for (velto_channel *ch : chs)
    if (ch != nullptr) VLTflushchannel(env, ch);
  return 0;
}

int VLTsetlogfile(VLTENVptr env, FILE *fp) {
  if (!checkenv(env)) return kNoEnvironment;
  velto_channel *chs[4] = {env->reschannel, env->warnchannel, env->errchannel, env->logchannel};
  FILE *old = getlogfile(env);
  if (old != nullptr)
    for (velto_channel *ch : chs)
      if (ch != nullptr) removefp(ch, old);
  // A null stream closes the log without opening a new one: nothing is added
  // and nothing is reported.
  if (fp != nullptr)
    for (velto_channel *ch : chs)
      if (ch != nullptr) pushdest(ch, kDestFile, fp, nullptr, nullptr);
  setlogfileptr(env, fp);
  return 0;
}

int VLTgetlogfile(VLTENVptr env, FILE **fp_p) {
  if (!checkenv(env)) return kNoEnvironment;
  *fp_p = getlogfile(env);
  return 0;
}

}  // extern "C"
