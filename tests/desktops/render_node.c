/* Preloaded into KWin on machines without a graphics card, where it would compose its screen in a way that
 * shares nothing: /dev/null is told of as a card that can do no more than keep buffers in memory, which is
 * what the kernel's own "vgem" does. Everything is then drawn by the processor. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <drm.h>
#include <drm_mode.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <xf86drm.h>

#define NODE "/dev/null"

enum { most_buffers = 4096, offset_shift = 20 };

/* The memory of each buffer by its handle, 0 where there is none. */
static int memory_of[most_buffers];

__attribute__((constructor)) static void keep_to_this_program(void) {
  if (!strcmp(program_invocation_short_name, "kwin_wayland")) unsetenv("LD_PRELOAD");
}

static int is_node(int fd) {
  struct stat found;
  return !fstat(fd, &found) && S_ISCHR(found.st_mode) && found.st_rdev == makedev(1, 3);
}

static int failed(int error) {
  errno = error;
  return -1;
}

static int new_handle(int memory) {
  for (int handle = 1; handle < most_buffers; ++handle) {
    if (memory_of[handle] == 0) {
      memory_of[handle] = memory;
      return handle;
    }
  }
  return 0;
}

static int memory(unsigned handle) { return handle < most_buffers ? memory_of[handle] : 0; }

static int create(struct drm_mode_create_dumb *wish) {
  wish->pitch = (wish->width * ((wish->bpp + 7) / 8) + 63) & ~63U;
  wish->size = ((unsigned long long)wish->pitch * wish->height + 4095) & ~4095ULL;
  const int fd = memfd_create("buffer", MFD_CLOEXEC);
  if (fd < 0 || ftruncate(fd, (off_t)wish->size)) return -1;
  wish->handle = (unsigned)new_handle(fd);
  return wish->handle ? 0 : failed(ENOMEM);
}

static int destroy(unsigned handle) {
  if (!memory(handle)) return failed(EINVAL);
  close(memory_of[handle]);
  memory_of[handle] = 0;
  return 0;
}

static int locate(struct drm_mode_map_dumb *wish) {
  if (!memory(wish->handle)) return failed(EINVAL);
  wish->offset = (unsigned long long)wish->handle << offset_shift;
  return 0;
}

static int export(struct drm_prime_handle *wish) {
  if (!memory(wish->handle)) return failed(EINVAL);
  wish->fd = fcntl(memory_of[wish->handle], F_DUPFD_CLOEXEC, 0);
  return wish->fd < 0 ? -1 : 0;
}

static int import(struct drm_prime_handle *wish) {
  struct stat wanted, had;
  if (fstat(wish->fd, &wanted)) return -1;
  for (unsigned handle = 1; handle < most_buffers; ++handle) {
    if (memory_of[handle] && !fstat(memory_of[handle], &had) && had.st_ino == wanted.st_ino) {
      wish->handle = handle;
      return 0;
    }
  }
  const int fd = fcntl(wish->fd, F_DUPFD_CLOEXEC, 0);
  if (fd < 0) return -1;
  wish->handle = (unsigned)new_handle(fd);
  return wish->handle ? 0 : failed(ENOMEM);
}

static int tell_version(struct drm_version *version) {
  static const char name[] = "vgem";
  if (version->name && version->name_len >= sizeof name - 1) memcpy(version->name, name, sizeof name - 1);
  version->version_major = 1;
  version->name_len = sizeof name - 1;
  version->date_len = version->desc_len = 0;
  return 0;
}

static int tell_capability(struct drm_get_cap *wish) {
  switch (wish->capability) {
    case DRM_CAP_DUMB_BUFFER:
    case DRM_CAP_TIMESTAMP_MONOTONIC:
      wish->value = 1;
      return 0;
    case DRM_CAP_PRIME:
      wish->value = DRM_PRIME_CAP_IMPORT | DRM_PRIME_CAP_EXPORT;
      return 0;
    default:
      wish->value = 0;
      return 0;
  }
}

static int control(unsigned long request, void *argument) {
  switch (request) {
    case DRM_IOCTL_VERSION:
      return tell_version(argument);
    case DRM_IOCTL_GET_CAP:
      return tell_capability(argument);
    case DRM_IOCTL_MODE_CREATE_DUMB:
      return create(argument);
    case DRM_IOCTL_MODE_MAP_DUMB:
      return locate(argument);
    case DRM_IOCTL_MODE_DESTROY_DUMB:
      return destroy(((struct drm_mode_destroy_dumb *)argument)->handle);
    case DRM_IOCTL_GEM_CLOSE:
      return destroy(((struct drm_gem_close *)argument)->handle);
    case DRM_IOCTL_PRIME_HANDLE_TO_FD:
      return export(argument);
    case DRM_IOCTL_PRIME_FD_TO_HANDLE:
      return import(argument);
    default:
      return failed(EINVAL);
  }
}

int ioctl(int fd, unsigned long request, ...) {
  static int (*real)(int, unsigned long, ...);
  if (!real) real = (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
  va_list rest;
  va_start(rest, request);
  void *argument = va_arg(rest, void *);
  va_end(rest);
  if (_IOC_TYPE(request) == DRM_IOCTL_BASE && is_node(fd)) return control(request, argument);
  return real(fd, request, argument);
}

static void *map(const char *name, void *at, size_t size, int protection, int flags, int fd, off_t offset) {
  void *(*real)(void *, size_t, int, int, int, off_t) =
      (void *(*)(void *, size_t, int, int, int, off_t))dlsym(RTLD_NEXT, name);
  if (fd < 0 || offset == 0 || !is_node(fd)) return real(at, size, protection, flags, fd, offset);
  return real(at, size, protection, flags, memory((unsigned)(offset >> offset_shift)), 0);
}

void *mmap(void *at, size_t size, int protection, int flags, int fd, off_t offset) {
  return map("mmap", at, size, protection, flags, fd, offset);
}

void *mmap64(void *at, size_t size, int protection, int flags, int fd, off_t offset) {
  return map("mmap64", at, size, protection, flags, fd, offset);
}

int drmGetDevices2(uint32_t flags, drmDevicePtr devices[], int most) {
  (void)flags;
  if (!devices || most < 1) return 1;
  drmDevicePtr device = calloc(1, sizeof *device);
  device->nodes = calloc(DRM_NODE_MAX, sizeof *device->nodes);
  device->nodes[DRM_NODE_PRIMARY] = device->nodes[DRM_NODE_RENDER] = (char *)NODE;
  device->available_nodes = 1 << DRM_NODE_PRIMARY | 1 << DRM_NODE_RENDER;
  device->bustype = DRM_BUS_PLATFORM;
  device->businfo.platform = calloc(1, sizeof *device->businfo.platform);
  strcpy(device->businfo.platform->fullname, "vgem");
  devices[0] = device;
  return 1;
}

void drmFreeDevices(drmDevicePtr devices[], int count) {
  for (int i = 0; i < count; ++i) {
    free(devices[i]->businfo.platform);
    free(devices[i]->nodes);
    free(devices[i]);
  }
}
