/* Preloaded, it denies a program memory, as a file says that may change at any time: one in so many of its
 * calls of malloc, calloc and realloc fails, by the file's first number, 0 being none and 1 all. The second
 * number counts what was denied. The text behind them is how the names of those threads end that are denied
 * it; without one it is all of them. Programs that it starts are left alone. */

#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

struct shortage {
    _Atomic int64_t one_in;
    _Atomic int64_t denied;
    char threads[16];
};

extern void *__libc_malloc(size_t size);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *block, size_t size);

static struct shortage *shortage;

__attribute__((constructor)) static void map_the_file(void) {
    const char *program = getenv("MEMORY_SHORTAGE_OF");
    const char *path = getenv("MEMORY_SHORTAGE_FILE");
    if (program == NULL || path == NULL || strcmp(program, program_invocation_short_name) != 0) {
        return;
    }
    const int file = open(path, O_RDWR | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    void *mapped = mmap(NULL, sizeof *shortage, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    shortage = mapped == MAP_FAILED ? NULL : mapped;
    close(file);
}

/* Each thread draws for itself, so that none waits for another. */
static uint32_t draw(void) {
    static _Thread_local uint32_t state;
    if (state == 0) {
        state = (uint32_t)gettid();
    }
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

static int is_meant(void) {
    char name[16] = "";
    const size_t end = strlen(shortage->threads);
    if (end == 0) {
        return 1;
    }
    prctl(PR_GET_NAME, name);
    return strlen(name) >= end && strcmp(name + strlen(name) - end, shortage->threads) == 0;
}

static int is_denied(void) {
    const int64_t one_in = shortage == NULL ? 0 : shortage->one_in;
    if (one_in == 0 || !is_meant() || draw() % (uint32_t)one_in != 0) {
        return 0;
    }
    shortage->denied++;
    errno = ENOMEM;
    return 1;
}

void *malloc(size_t size) {
    return is_denied() ? NULL : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) {
    return is_denied() ? NULL : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) {
    return is_denied() ? NULL : __libc_realloc(block, size);
}
