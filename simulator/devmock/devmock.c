/* Preloaded into a program so that it finds simulated devices: /dev/i2c-* become connections to the simulator
 * at $DEVMOCK_DIR/i2c.sock, the paths below are looked for under $DEVMOCK_DIR, and the network ends at
 * 127.0.0.1. Without DEVMOCK_DIR nothing changes.
 *
 * One SEQPACKET connection per open bus. Messages: O + bus name ("i2c-1") once, then A + address (16 bits),
 * W + bytes, R + length (16 bits), host byte order. Every message is answered by an int32, the result or
 * -errno, and the bytes read. Bus descriptors belong to the thread that opened them, hence no lock. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <netdb.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

enum { maxFd = 4096, maxMessage = 512, pathSize = 1024, i2cSlave = 0x0703, answerSeconds = 5 };

static _Atomic unsigned char busFd[maxFd];
static const char *const mapped[]
    = {"/sys/class/gpio", "/sys/bus/w1", "/sys/class/thermal", "/proc/loadavg", "/dev/tty0"};

/* real() becomes the next definition of a function, whose own prototype gives its type. */
#define REAL(name)                                                                                           \
    static __typeof__(&name) real;                                                                           \
    if (!real)                                                                                               \
    *(void **)(&real) = dlsym(RTLD_NEXT, #name)
#define IS_BUS(fd) ((unsigned)(fd) < maxFd && atomic_load(&busFd[fd]))

static const char *map(const char *path, char *buffer)
{
    const char *root = getenv("DEVMOCK_DIR");
    for (size_t i = 0; path && root && i < sizeof mapped / sizeof *mapped; i++) {
        size_t n = strlen(mapped[i]);
        if (!strncmp(path, mapped[i], n) && (path[n] == 0 || path[n] == '/'))
            return snprintf(buffer, pathSize, "%s%s", root, path) < pathSize ? buffer : path;
    }
    return path;
}
#define MAP(path)                                                                                            \
    char buffer[pathSize];                                                                                   \
    const char *mappedPath = map(path, buffer)

/* Sends one message and waits for its answer; a simulator that does not answer is a bus that times out. */
static ssize_t call(int fd, const char *op, const void *out, size_t outLength, void *in, size_t inLength)
{
    int32_t result;
    struct iovec o[2] = {{(void *)(uintptr_t)op, 1}, {(void *)(uintptr_t)out, outLength}};
    struct iovec i[2] = {{&result, sizeof result}, {in, inLength}};
    struct msghdr sent = {.msg_iov = o, .msg_iovlen = 2}, got = {.msg_iov = i, .msg_iovlen = 2};
    ssize_t n;
    while ((n = sendmsg(fd, &sent, MSG_NOSIGNAL)) < 0 && errno == EINTR) { }
    while (n >= 0 && (n = recvmsg(fd, &got, 0)) < 0 && errno == EINTR) { }
    if (n < (ssize_t)sizeof result)
        errno = n < 0 && errno == EAGAIN ? ETIMEDOUT : EIO;
    else if (result < 0)
        errno = -result;
    return n < (ssize_t)sizeof result || result < 0 ? -1 : result;
}

static int openBus(const char *path) /* -2: not a bus */
{
    const char *root = getenv("DEVMOCK_DIR");
    if (!root || !path || strncmp(path, "/dev/i2c-", 9))
        return -2;
    struct sockaddr_un a = {.sun_family = AF_UNIX};
    struct timeval limit = {.tv_sec = answerSeconds};
    snprintf(a.sun_path, sizeof a.sun_path, "%s/i2c.sock", root);
    int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    errno = ENOENT;
    if (fd < maxFd && !connect(fd, (struct sockaddr *)&a, sizeof a)
        && !call(fd, "O", path + 5, strlen(path + 5), NULL, 0)) {
        atomic_store(&busFd[fd], 1);
        return fd;
    }
    int why = errno;
    close(fd);
    errno = why;
    return -1;
}

/* The whole family of calls that take a path first, or after a directory descriptor. */
#define OPEN(name)                                                                                           \
    int name(const char *path, int flags, ...)                                                               \
    {                                                                                                        \
        REAL(name);                                                                                          \
        MODE_OR_BUS return real(mappedPath, flags, mode);                                                    \
    }
#define OPENAT(name)                                                                                         \
    int name(int dir, const char *path, int flags, ...)                                                      \
    {                                                                                                        \
        REAL(name);                                                                                          \
        MODE_OR_BUS return real(dir, mappedPath, flags, mode);                                               \
    }
#define MODE_OR_BUS                                                                                          \
    va_list ap;                                                                                              \
    va_start(ap, flags);                                                                                     \
    mode_t mode = (mode_t)(flags & (O_CREAT | __O_TMPFILE) ? va_arg(ap, int) : 0);                           \
    va_end(ap);                                                                                              \
    int fd = openBus(path);                                                                                  \
    if (fd != -2)                                                                                            \
        return fd;                                                                                           \
    MAP(path);
#define PATH1(type, name, ...)                                                                               \
    type name(const char *path __VA_OPT__(, ) __VA_ARGS__ __VA_OPT__(value))                                 \
    {                                                                                                        \
        REAL(name);                                                                                          \
        MAP(path);                                                                                           \
        return real(mappedPath __VA_OPT__(, value));                                                         \
    }
int __open_2(const char *path, int flags);
int __open64_2(const char *path, int flags);
ssize_t __read_chk(int fd, void *data, size_t length, size_t size);

OPEN(open)
OPEN(open64)
OPENAT(openat)
OPENAT(openat64)
int __open_2(const char *path, int flags)
{
    return open(path, flags);
}
int __open64_2(const char *path, int flags)
{
    return open64(path, flags);
}
PATH1(FILE *, fopen, const char *)
PATH1(FILE *, fopen64, const char *)
PATH1(int, access, int)
PATH1(int, stat, struct stat *)
PATH1(int, lstat, struct stat *)
PATH1(int, stat64, struct stat64 *)
PATH1(int, lstat64, struct stat64 *)
PATH1(DIR *, opendir)

int statx(int dir, const char *path, int flags, unsigned mask, struct statx *value)
{
    REAL(statx);
    MAP(path);
    return real(dir, mappedPath, flags, mask, value);
}

int ioctl(int fd, unsigned long request, ...)
{
    REAL(ioctl);
    va_list ap;
    va_start(ap, request);
    long value = va_arg(ap, long);
    va_end(ap);
    if (!IS_BUS(fd))
        return real(fd, request, value);
    uint16_t address = (uint16_t)value;
    if (request == i2cSlave)
        return (int)call(fd, "A", &address, sizeof address, NULL, 0);
    errno = ENOTTY;
    return -1;
}

ssize_t read(int fd, void *data, size_t length)
{
    REAL(read);
    uint16_t wanted = (uint16_t)(length > maxMessage ? maxMessage : length);
    return IS_BUS(fd) ? call(fd, "R", &wanted, sizeof wanted, data, wanted) : real(fd, data, length);
}

ssize_t __read_chk(int fd, void *data, size_t length, size_t size)
{
    return read(fd, data, length > size ? size : length);
}

ssize_t write(int fd, const void *data, size_t length)
{
    REAL(write);
    return IS_BUS(fd) ? call(fd, "W", data, length > maxMessage ? maxMessage : length, NULL, 0)
                      : real(fd, data, length);
}

int close(int fd)
{
    REAL(close);
    if ((unsigned)fd < maxFd)
        atomic_store(&busFd[fd], 0);
    return real(fd);
}

/* Any-address becomes the loopback one, reached as 127.0.0.1 also through a socket for both families. */
int bind(int fd, const struct sockaddr *address, socklen_t length)
{
    REAL(bind);
    struct sockaddr_storage own = {0};
    memcpy(&own, address, length < sizeof own ? length : sizeof own);
    struct sockaddr_in *v4 = (struct sockaddr_in *)&own;
    struct sockaddr_in6 *v6 = (struct sockaddr_in6 *)&own;
    int only6 = 0;
    socklen_t size = sizeof only6;
    if (getenv("DEVMOCK_DIR") && own.ss_family == AF_INET && v4->sin_addr.s_addr == INADDR_ANY)
        v4->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (getenv("DEVMOCK_DIR") && own.ss_family == AF_INET6 && IN6_IS_ADDR_UNSPECIFIED(&v6->sin6_addr)) {
        getsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &only6, &size);
        inet_pton(AF_INET6, only6 ? "::1" : "::ffff:127.0.0.1", &v6->sin6_addr);
    }
    return real(fd, (struct sockaddr *)&own, length);
}

static int isOutside(const struct sockaddr *address)
{
    if (!address || !getenv("DEVMOCK_DIR"))
        return 0;
    const struct in6_addr *v6 = &((const struct sockaddr_in6 *)(const void *)address)->sin6_addr;
    if (address->sa_family == AF_INET6)
        return !IN6_IS_ADDR_LOOPBACK(v6) && !(IN6_IS_ADDR_V4MAPPED(v6) && v6->s6_addr[12] == 127);
    return address->sa_family == AF_INET
        && ntohl(((const struct sockaddr_in *)(const void *)address)->sin_addr.s_addr) >> 24 != 127;
}

int connect(int fd, const struct sockaddr *address, socklen_t length)
{
    REAL(connect);
    return isOutside(address) ? (errno = ENETUNREACH, -1) : real(fd, address, length);
}

ssize_t sendto(
    int fd, const void *data, size_t size, int flags, const struct sockaddr *address, socklen_t length)
{
    REAL(sendto);
    return isOutside(address) ? (errno = ENETUNREACH, -1) : real(fd, data, size, flags, address, length);
}

/* Only names that need no name server: glibc would ask one without passing connect() above. */
int getaddrinfo(const char *node, const char *service, const struct addrinfo *hints, struct addrinfo **result)
{
    REAL(getaddrinfo);
    struct addrinfo numeric = hints ? *hints : (struct addrinfo){0};
    numeric.ai_flags |= AI_NUMERICHOST;
    int local = !getenv("DEVMOCK_DIR") || !node || !strcmp(node, "localhost");
    return real(node, service, local ? hints : &numeric, result);
}
