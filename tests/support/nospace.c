/* Preloaded into a program under test to play a full disk: every write()
   to a regular file fails with ENOSPC. Writes to terminals, pipes and
   devices (standard output and error included) go through. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

ssize_t write(int fd, const void* buf, size_t count) {
  static ssize_t (*real)(int, const void*, size_t) = NULL;
  struct stat st;
  if (count > 0 && fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
    errno = ENOSPC;
    return -1;
  }
  if (real == NULL) real = dlsym(RTLD_NEXT, "write");
  return real(fd, buf, count);
}
