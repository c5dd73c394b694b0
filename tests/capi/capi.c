/* The public header used from plain C: open, route, close. */
#include <stdio.h>
#include <string.h>
#include "velto.h"

static char captured[4096];
static void sink(void *handle, const char *text) {
  (void)handle;
  strncat(captured, text, sizeof captured - strlen(captured) - 1);
}

int main(void) {
  int status = -1;
  VLTENVptr env = VLTopenVELTO(&status);
  VLTCHANNELptr res = NULL, warn = NULL, err = NULL, logc = NULL;
  if (env == NULL || status != 0) { fprintf(stderr, "open failed: %d\n", status); return 1; }
  if (strcmp(VLTversion(env), "8.1.0") != 0) { fprintf(stderr, "bad version\n"); return 1; }
  if (VLTgetchannels(env, &res, &warn, &err, &logc) != 0) return 1;
  if (VLTaddfuncdest(env, res, NULL, sink) != 0) return 1;
  if (VLTmsg(res, "hello %d\n", 42) != 9) return 1;
  if (strcmp(captured, "hello 42\n") != 0) { fprintf(stderr, "bad text '%s'\n", captured); return 1; }
  if (VLTcreateprob(env, &status, "p") == NULL || status != 0) return 1;
  if (VLTcloseVELTO(&env) != 0 || env != NULL) { fprintf(stderr, "close failed\n"); return 1; }
  if (VLTopenVELTO(NULL) != NULL) return 1;
  printf("capi: 1 passed, 0 failed\n");
  return 0;
}
