/* A scripted PipeWire producer. It reads commands from standard input, one per line, and carries them
 * out whether they are valid or not. It replies on standard output.
 *
 *   open                        creates the node; prints "node N", then "streaming" when it is linked
 *   format NAME W H             sets the format on offer; after "open" it renegotiates; prints
 *                               "negotiated W H" when a consumer has accepted the format
 *   metadata NAME...            adds kinds of metadata: header damage crop transform cursor
 *   memory DECLARED ACTUAL      bytes of a buffer as declared and as allocated (0: as the format needs)
 *   buffers never               requests a type of buffer that no consumer has
 *   colours RGB RGB RGB RGB     sets the quarters: top left, top right, bottom left, bottom right
 *   chunk OFFSET SIZE STRIDE    sets the chunk; "right" in place of a number means the right value
 *   flags HEADER CHUNK          sets the flags of the header and of the chunk
 *   damage X Y W H ...          sets up to four regions; without any, the metadata is present and empty
 *   crop X Y W H     transform N
 *   cursor ID X Y HOTX HOTY     bitmap FORMAT W H STRIDE OFFSET RGBA | nobitmap
 *   bitmapat OFFSET             sets the offset of the bitmap in the cursor metadata
 *   send                        fills a buffer and queues it: "sent", or "none" without a free buffer
 *   withhold                    fills a buffer but does not queue it, as if the notification were
 *                               lost: "withheld", or "none"
 *   stall-on-format             after another format sends nothing until the stream is restarted
 *   unallocated BUFFERS         allocates no memory for that many of the next buffers
 *   shrink BYTES                truncates the memory of all buffers: "shrunk"
 *   flicker                     starts a thread that truncates and restores the memory repeatedly
 *   steady                      ends that thread and restores the memory: "steady"
 *   close                       destroys the node
 */
#define _GNU_SOURCE
#include <pipewire/pipewire.h>
#include <pthread.h>
#include <spa/param/video/format-utils.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

enum { most_buffers = 64, most_damage = 4, cursor_room = 64 * 64 * 4 + 256 };

static struct {
  struct pw_main_loop *loop;
  struct pw_context *context;
  struct pw_core *core;
  struct pw_stream *stream;
  struct spa_hook hook;
  uint32_t format, width, height;
  bool header, damage, crop, transform, cursor, never;
  uint32_t declared_size, actual_size;
  uint32_t colours[4];
  char chunk[3][32];
  uint32_t header_flags, chunk_flags, frame_count;
  uint32_t damage_count;
  struct spa_region damages[most_damage], cropped;
  uint32_t transformed;
  struct spa_meta_cursor cursor_metadata;
  bool has_bitmap;
  struct spa_meta_bitmap bitmap;
  uint32_t bitmap_colour;
  int fds[most_buffers];
  uint32_t unallocated;
  pthread_t flickering;
  atomic_bool flickers;
  uint32_t named;
  bool stalls_on_format, stalled;
} own;

static void say(const char *text) {
  puts(text);
  fflush(stdout);
}

static uint32_t row_bytes(void) { return own.width * 4; }
static uint32_t picture_bytes(void) { return own.height * row_bytes(); }
static bool is_bgr(void) {
  return own.format == SPA_VIDEO_FORMAT_BGRx || own.format == SPA_VIDEO_FORMAT_BGRA;
}

static uint32_t format_named(const char *name) {
  const struct {
    const char *name;
    uint32_t format;
  } all[] = {{"BGRx", SPA_VIDEO_FORMAT_BGRx}, {"BGRA", SPA_VIDEO_FORMAT_BGRA},
             {"RGBx", SPA_VIDEO_FORMAT_RGBx}, {"RGBA", SPA_VIDEO_FORMAT_RGBA},
             {"xRGB", SPA_VIDEO_FORMAT_xRGB}, {"I420", SPA_VIDEO_FORMAT_I420}};
  for (size_t i = 0; i < SPA_N_ELEMENTS(all); ++i)
    if (strcmp(all[i].name, name) == 0) return all[i].format;
  return SPA_VIDEO_FORMAT_UNKNOWN;
}

static struct spa_pod *offered_format(struct spa_pod_builder *builder) {
  return spa_pod_builder_add_object(
      builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
      SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
      SPA_FORMAT_VIDEO_format, SPA_POD_Id(own.format), SPA_FORMAT_VIDEO_size,
      SPA_POD_Rectangle(&SPA_RECTANGLE(own.width, own.height)), SPA_FORMAT_VIDEO_framerate,
      SPA_POD_Fraction(&SPA_FRACTION(0, 1)), SPA_FORMAT_VIDEO_maxFramerate,
      SPA_POD_CHOICE_RANGE_Fraction(&SPA_FRACTION(30, 1), &SPA_FRACTION(1, 1),
                                    &SPA_FRACTION(60, 1)));
}

static struct spa_pod *metadata_param(struct spa_pod_builder *builder, uint32_t type, int size) {
  return spa_pod_builder_add_object(builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                                    SPA_PARAM_META_type, SPA_POD_Id(type), SPA_PARAM_META_size,
                                    SPA_POD_Int(size));
}

static void format_chosen(void) {
  uint8_t memory[4096];
  struct spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
  const struct spa_pod *params[8];
  uint32_t count = 0;
  const int kinds = own.never ? 1 << SPA_DATA_DmaBuf : 1 << SPA_DATA_MemFd;
  params[count++] = spa_pod_builder_add_object(
      &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
      SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
      SPA_PARAM_BUFFERS_size, SPA_POD_Int((int)picture_bytes()), SPA_PARAM_BUFFERS_stride,
      SPA_POD_Int((int)row_bytes()), SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(kinds));
  if (own.header)
    params[count++] = metadata_param(&builder, SPA_META_Header, sizeof(struct spa_meta_header));
  if (own.damage)
    params[count++] = metadata_param(&builder, SPA_META_VideoDamage,
                                     most_damage * (int)sizeof(struct spa_meta_region));
  if (own.crop)
    params[count++] = metadata_param(&builder, SPA_META_VideoCrop, sizeof(struct spa_meta_region));
  if (own.transform)
    params[count++] =
        metadata_param(&builder, SPA_META_VideoTransform, sizeof(struct spa_meta_videotransform));
  if (own.cursor) params[count++] = metadata_param(&builder, SPA_META_Cursor, cursor_room);
  pw_stream_update_params(own.stream, params, count);
}

static void param_changed(void *data, uint32_t id, const struct spa_pod *param) {
  (void)data;
  if (id != SPA_PARAM_Format || param == NULL) return;
  format_chosen();
  printf("negotiated %u %u\n", own.width, own.height);
  fflush(stdout);
}

static void state_changed(void *data, enum pw_stream_state before, enum pw_stream_state state,
                          const char *error) {
  (void)data, (void)before, (void)error;
  const uint32_t node = pw_stream_get_node_id(own.stream);
  if (state == PW_STREAM_STATE_PAUSED && node != SPA_ID_INVALID && node != own.named) {
    own.named = node;
    printf("node %u\n", node);
  }
  if (state == PW_STREAM_STATE_STREAMING) own.stalled = false;
  say(pw_stream_state_as_string(state));
}

static void add_buffer(void *data, struct pw_buffer *buffer) {
  (void)data;
  if (own.unallocated > 0) {
    --own.unallocated;
    return;
  }
  struct spa_data *memory = &buffer->buffer->datas[0];
  const uint32_t size = own.actual_size ? own.actual_size : picture_bytes();
  const int fd = memfd_create("producer", MFD_CLOEXEC);
  if (ftruncate(fd, size) != 0) abort();
  memory->type = SPA_DATA_MemFd;
  memory->flags = SPA_DATA_FLAG_READWRITE;
  memory->fd = fd;
  memory->mapoffset = 0;
  memory->maxsize = own.declared_size ? own.declared_size : size;
  for (int i = 0; i < most_buffers; ++i)
    if (own.fds[i] == 0) {
      own.fds[i] = fd;
      break;
    }
}

static void remove_buffer(void *data, struct pw_buffer *buffer) {
  (void)data;
  if (buffer->buffer->datas[0].type != SPA_DATA_MemFd) return;
  const int fd = (int)buffer->buffer->datas[0].fd;
  for (int i = 0; i < most_buffers; ++i)
    if (own.fds[i] == fd) own.fds[i] = 0;
  close(fd);
}

static void put_pixel(uint8_t *pixel, uint32_t rgb) {
  pixel[is_bgr() ? 2 : 0] = (uint8_t)(rgb >> 16);
  pixel[1] = (uint8_t)(rgb >> 8);
  pixel[is_bgr() ? 0 : 2] = (uint8_t)rgb;
  pixel[3] = 0;
}

/* Writes as much of the picture as the memory of the buffer holds. */
static void paint(int fd) {
  uint8_t *picture = malloc(picture_bytes());
  for (uint32_t y = 0; y < own.height; ++y)
    for (uint32_t x = 0; x < own.width; ++x)
      put_pixel(picture + y * row_bytes() + x * 4,
                own.colours[(y >= own.height / 2) * 2 + (x >= own.width / 2)]);
  const off_t room = lseek(fd, 0, SEEK_END);
  if (pwrite(fd, picture, SPA_MIN(picture_bytes(), (size_t)room), 0) < 0) abort();
  free(picture);
}

static uint32_t chunk_value(int which, uint32_t right) {
  return strcmp(own.chunk[which], "right") == 0 ? right : (uint32_t)strtoll(own.chunk[which], NULL, 0);
}

static void write_cursor(struct spa_buffer *buffer) {
  struct spa_meta *meta = spa_buffer_find_meta(buffer, SPA_META_Cursor);
  if (meta == NULL) return;
  memcpy(meta->data, &own.cursor_metadata, sizeof own.cursor_metadata);
  if (!own.has_bitmap || own.cursor_metadata.bitmap_offset + sizeof own.bitmap > meta->size) return;
  uint8_t *bitmap = SPA_PTROFF(meta->data, own.cursor_metadata.bitmap_offset, uint8_t);
  memcpy(bitmap, &own.bitmap, sizeof own.bitmap);
  uint8_t *end = SPA_PTROFF(meta->data, meta->size, uint8_t);
  for (uint8_t *at = bitmap + sizeof own.bitmap; at + 4 <= end; at += 4)
    for (int i = 0; i < 4; ++i) at[i] = (uint8_t)(own.bitmap_colour >> (24 - 8 * i));
}

static void write_metadata(struct spa_buffer *buffer) {
  struct spa_meta_header *header =
      spa_buffer_find_meta_data(buffer, SPA_META_Header, sizeof *header);
  if (header) header->flags = own.header_flags, header->pts = -1, header->seq = own.frame_count++;
  struct spa_meta *damage = spa_buffer_find_meta(buffer, SPA_META_VideoDamage);
  if (damage) {
    struct spa_region *regions = damage->data;
    memset(regions, 0, damage->size);
    for (uint32_t i = 0; i < own.damage_count && (i + 1) * sizeof *regions <= damage->size; ++i)
      regions[i] = own.damages[i];
  }
  struct spa_meta_region *crop = spa_buffer_find_meta_data(buffer, SPA_META_VideoCrop, sizeof *crop);
  if (crop) crop->region = own.cropped;
  struct spa_meta_videotransform *transform =
      spa_buffer_find_meta_data(buffer, SPA_META_VideoTransform, sizeof *transform);
  if (transform) transform->transform = own.transformed;
  write_cursor(buffer);
}

static struct pw_buffer *filled_buffer(void) {
  struct pw_buffer *buffer = own.stream && !own.stalled ? pw_stream_dequeue_buffer(own.stream) : NULL;
  if (buffer == NULL) return NULL;
  struct spa_data *data = &buffer->buffer->datas[0];
  if (data->type == SPA_DATA_MemFd) paint((int)data->fd);
  data->chunk->offset = chunk_value(0, 0);
  data->chunk->size = chunk_value(1, picture_bytes());
  data->chunk->stride = (int32_t)chunk_value(2, row_bytes());
  data->chunk->flags = (int32_t)own.chunk_flags;
  write_metadata(buffer->buffer);
  return buffer;
}

static void send_picture(void) {
  struct pw_buffer *buffer = filled_buffer();
  if (buffer == NULL) return say("none");
  pw_stream_queue_buffer(own.stream, buffer);
  say("sent");
}

static void withhold_picture(void) { say(filled_buffer() ? "withheld" : "none"); }

static const struct pw_stream_events events = {
    PW_VERSION_STREAM_EVENTS,
    .state_changed = state_changed,
    .param_changed = param_changed,
    .add_buffer = add_buffer,
    .remove_buffer = remove_buffer,
};

static void open_node(void) {
  uint8_t memory[1024];
  struct spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
  const struct spa_pod *params[] = {offered_format(&builder)};
  own.named = SPA_ID_INVALID;
  own.stream = pw_stream_new(own.core, "producer",
                             pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", NULL));
  pw_stream_add_listener(own.stream, &own.hook, &events, NULL);
  pw_stream_connect(own.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                    PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_ALLOC_BUFFERS, params, 1);
}

static void close_node(void) {
  if (own.stream) pw_stream_destroy(own.stream);
  own.stream = NULL;
  say("closed");
}

static void set_format(const char *name, uint32_t width, uint32_t height) {
  own.stalled = own.stalls_on_format;
  own.format = format_named(name);
  own.width = width;
  own.height = height;
  if (own.stream == NULL) return;
  uint8_t memory[1024];
  struct spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
  const struct spa_pod *params[] = {offered_format(&builder)};
  pw_stream_update_params(own.stream, params, 1);
}

static void truncate_all(const int *fds, uint32_t size) {
  for (int i = 0; i < most_buffers; ++i)
    if (fds[i] != 0 && ftruncate(fds[i], size) != 0) abort();
}

/* It works on duplicates of the descriptors, because the buffers may be removed at any time. */
static void *flicker(void *unused) {
  (void)unused;
  int fds[most_buffers];
  const uint32_t size = picture_bytes();
  for (int i = 0; i < most_buffers; ++i) fds[i] = own.fds[i] == 0 ? 0 : dup(own.fds[i]);
  while (own.flickers) truncate_all(fds, 0), truncate_all(fds, size);
  for (int i = 0; i < most_buffers; ++i)
    if (fds[i] != 0) close(fds[i]);
  return NULL;
}

static void begin_flickering(void) {
  own.flickers = true;
  if (pthread_create(&own.flickering, NULL, flicker, NULL) != 0) abort();
}

static void end_flickering(void) {
  if (!own.flickers) return;
  own.flickers = false;
  pthread_join(own.flickering, NULL);
}

static uint32_t number(const char *text) { return text ? (uint32_t)strtoll(text, NULL, 0) : 0; }

static struct spa_region region(char **words) {
  return (struct spa_region){{(int32_t)number(words[0]), (int32_t)number(words[1])},
                             {number(words[2]), number(words[3])}};
}

static void command(char **words, int count) {
  const char *verb = words[0];
  char **given = words + 1;
  if (strcmp(verb, "open") == 0) open_node();
  if (strcmp(verb, "close") == 0) close_node();
  if (strcmp(verb, "send") == 0) send_picture();
  if (strcmp(verb, "withhold") == 0) withhold_picture();
  if (strcmp(verb, "unallocated") == 0) own.unallocated = number(given[0]);
  if (strcmp(verb, "stall-on-format") == 0) own.stalls_on_format = true;
  if (strcmp(verb, "shrink") == 0) truncate_all(own.fds, number(given[0])), say("shrunk");
  if (strcmp(verb, "flicker") == 0) begin_flickering();
  if (strcmp(verb, "steady") == 0) end_flickering(), say("steady");
  if (strcmp(verb, "format") == 0) set_format(given[0], number(given[1]), number(given[2]));
  for (int i = 1; strcmp(verb, "metadata") == 0 && i < count; ++i) {
    own.header |= strcmp(words[i], "header") == 0;
    own.damage |= strcmp(words[i], "damage") == 0;
    own.crop |= strcmp(words[i], "crop") == 0;
    own.transform |= strcmp(words[i], "transform") == 0;
    own.cursor |= strcmp(words[i], "cursor") == 0;
  }
  if (strcmp(verb, "memory") == 0) own.declared_size = number(given[0]), own.actual_size = number(given[1]);
  if (strcmp(verb, "buffers") == 0) own.never = true;
  for (int i = 0; strcmp(verb, "colours") == 0 && i < 4; ++i)
    own.colours[i] = (uint32_t)strtoul(given[i], NULL, 16);
  for (int i = 0; strcmp(verb, "chunk") == 0 && i < 3; ++i)
    snprintf(own.chunk[i], sizeof own.chunk[i], "%s", given[i]);
  if (strcmp(verb, "flags") == 0)
    own.header_flags = number(given[0]), own.chunk_flags = number(given[1]);
  if (strcmp(verb, "damage") == 0) {
    own.damage_count = (uint32_t)(count - 1) / 4;
    for (uint32_t i = 0; i < own.damage_count; ++i) own.damages[i] = region(given + 4 * i);
  }
  if (strcmp(verb, "crop") == 0) own.cropped = region(given);
  if (strcmp(verb, "transform") == 0) own.transformed = number(given[0]);
  if (strcmp(verb, "cursor") == 0) {
    own.cursor_metadata.id = number(given[0]);
    own.cursor_metadata.position = SPA_POINT((int32_t)number(given[1]), (int32_t)number(given[2]));
    own.cursor_metadata.hotspot = SPA_POINT((int32_t)number(given[3]), (int32_t)number(given[4]));
  }
  if (strcmp(verb, "bitmap") == 0) {
    own.has_bitmap = true;
    own.cursor_metadata.bitmap_offset = sizeof own.cursor_metadata;
    own.bitmap.format = format_named(given[0]);
    own.bitmap.size = SPA_RECTANGLE(number(given[1]), number(given[2]));
    own.bitmap.stride = (int32_t)number(given[3]);
    own.bitmap.offset = number(given[4]);
    own.bitmap_colour = (uint32_t)strtoul(given[5], NULL, 16);
  }
  if (strcmp(verb, "nobitmap") == 0) own.has_bitmap = false, own.cursor_metadata.bitmap_offset = 0;
  if (strcmp(verb, "bitmapat") == 0) own.cursor_metadata.bitmap_offset = number(given[0]);
}

static void line_came(void *data, int fd, uint32_t mask) {
  static char line[512];
  static size_t length;
  (void)data, (void)mask;
  char byte;
  if (read(fd, &byte, 1) != 1) {
    pw_main_loop_quit(own.loop);
    return;
  }
  if (byte != '\n' && length + 1 < sizeof line) {
    line[length++] = byte;
    return;
  }
  line[length] = '\0';
  length = 0;
  char *words[24] = {0};
  int count = 0;
  for (char *word = strtok(line, " "); word && count < 20; word = strtok(NULL, " "))
    words[count++] = word;
  if (count > 0) command(words, count);
}

int main(int argc, char **argv) {
  pw_init(&argc, &argv);
  own.loop = pw_main_loop_new(NULL);
  own.context = pw_context_new(pw_main_loop_get_loop(own.loop), NULL, 0);
  own.core = pw_context_connect(own.context, NULL, 0);
  if (own.core == NULL) return 1;
  for (int i = 0; i < 3; ++i) strcpy(own.chunk[i], "right");
  pw_loop_add_io(pw_main_loop_get_loop(own.loop), STDIN_FILENO, SPA_IO_IN, false, line_came, NULL);
  say("ready");
  pw_main_loop_run(own.loop);
  end_flickering();
  if (own.stream) pw_stream_destroy(own.stream);
  pw_core_disconnect(own.core);
  pw_context_destroy(own.context);
  pw_main_loop_destroy(own.loop);
  pw_deinit();
  return 0;
}
