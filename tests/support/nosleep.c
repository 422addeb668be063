/* Preloaded into the programs under test: sleeps of five seconds or more
   return at once, shorter ones sleep as asked. A run's fixed pause thus costs
   nothing while the short waits of the panel client keep their meaning. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

#define LONG_SLEEP_SECONDS 5

static int is_long(const struct timespec* req) {
  return req != NULL && req->tv_sec >= LONG_SLEEP_SECONDS;
}

unsigned int sleep(unsigned int seconds) {
  if (seconds >= LONG_SLEEP_SECONDS) return 0;
  struct timespec req = {seconds, 0};
  while (nanosleep(&req, &req) != 0) {
  }
  return 0;
}

int nanosleep(const struct timespec* req, struct timespec* rem) {
  static int (*real)(const struct timespec*, struct timespec*) = NULL;
  if (is_long(req)) return 0;
  if (real == NULL) real = dlsym(RTLD_NEXT, "nanosleep");
  return real(req, rem);
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* req,
                    struct timespec* rem) {
  static int (*real)(clockid_t, int, const struct timespec*, struct timespec*) = NULL;
  if (flags == 0 && is_long(req)) return 0;
  if (real == NULL) real = dlsym(RTLD_NEXT, "clock_nanosleep");
  return real(clock, flags, req, rem);
}
