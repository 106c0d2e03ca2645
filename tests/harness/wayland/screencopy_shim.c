/* Preloaded into the portal's backend, which gives up on a compositor without linux-dmabuf. The shim
 * announces a DMA-BUF format before each frame. The backend never uses that format, because the
 * compositor does not offer the protocol to allocate such a buffer. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <string.h>

struct wl_proxy;
struct frame_listener {
  void (*buffer)(void *, struct wl_proxy *, uint32_t, uint32_t, uint32_t, uint32_t);
  void *flags, *ready, *failed, *damage;
  void (*linux_dmabuf)(void *, struct wl_proxy *, uint32_t, uint32_t, uint32_t);
  void (*buffer_done)(void *, struct wl_proxy *);
};

static const struct frame_listener *real;
static struct frame_listener shimmed;
static uint32_t width, height;

static void buffer(void *data, struct wl_proxy *frame, uint32_t format, uint32_t w, uint32_t h,
                   uint32_t stride) {
  width = w;
  height = h;
  real->buffer(data, frame, format, w, h, stride);
}

static void buffer_done(void *data, struct wl_proxy *frame) {
  const uint32_t xrgb8888 = 0x34325258;
  real->linux_dmabuf(data, frame, xrgb8888, width, height);
  real->buffer_done(data, frame);
}

int wl_proxy_add_listener(struct wl_proxy *proxy, void (**listener)(void), void *data) {
  int (*add)(struct wl_proxy *, void (**)(void), void *) = dlsym(RTLD_NEXT, "wl_proxy_add_listener");
  const char *(*class_of)(struct wl_proxy *) = dlsym(RTLD_NEXT, "wl_proxy_get_class");
  if (strcmp(class_of(proxy), "zwlr_screencopy_frame_v1") != 0) return add(proxy, listener, data);
  real = (const struct frame_listener *)listener;
  shimmed = *real;
  shimmed.buffer = buffer;
  shimmed.buffer_done = buffer_done;
  return add(proxy, (void (**)(void)) & shimmed, data);
}
