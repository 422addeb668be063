/* Preloaded into a program under test to play a full disk: every write()
   to a regular file fails with ENOSPC. Writes to terminals, pipes and
   devices (standard output and error included) go through.

   With MSGLINT_NOSPACE_UNDER set to an absolute directory, only the files
   below it are full: a program can then start, log and write its pid file
   while its writes to that one place fail. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

/* Whether the file open as `fd` lies below MSGLINT_NOSPACE_UNDER (always,
   when that is not set). */
static int IsFull(int fd) {
  const char* under = getenv("MSGLINT_NOSPACE_UNDER");
  if (under == NULL || *under == '\0') return 1;
  char link[64];
  char path[PATH_MAX];
  snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, path, sizeof(path) - 1);
  if (n < 0) return 0;
  path[n] = '\0';
  size_t len = strlen(under);
  return strncmp(path, under, len) == 0 && (path[len] == '/' || path[len] == '\0');
}

ssize_t write(int fd, const void* buf, size_t count) {
  static ssize_t (*real)(int, const void*, size_t) = NULL;
  struct stat st;
  if (count > 0 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && IsFull(fd)) {
    errno = ENOSPC;
    return -1;
  }
  if (real == NULL) real = dlsym(RTLD_NEXT, "write");
  return real(fd, buf, count);
}
