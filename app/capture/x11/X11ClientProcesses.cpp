#include "app/capture/x11/X11ClientProcesses.h"

#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Error.h"

#include <xcb/res.h>

#include <cstring>

namespace tarvinel {

namespace {

bool tellsProcesses(const X11Connection& connection) {
  if (connection.extension(xcb_res_id) == nullptr) return false;
  const auto version =
      connection.reply(xcb_res_query_version_reply, xcb_res_query_version(connection.get(), 1, 2));
  return version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2);
}

template <class Record>
Record take(std::span<const std::byte>& body) {
  Record record{};
  if (body.size() < sizeof record) throw X11Error::malformedReply();
  std::memcpy(&record, body.data(), sizeof record);
  body = body.subspan(sizeof record);
  return record;
}

}  // namespace

std::unordered_map<std::uint32_t, std::int32_t> parseClientProcesses(
    std::span<const std::byte> body, std::size_t count) {
  std::unordered_map<std::uint32_t, std::int32_t> processes;
  for (std::size_t i = 0; i < count; ++i) {
    const auto identity = take<xcb_res_client_id_spec_t>(body);
    const auto length = take<std::uint32_t>(body);  // bytes
    if (body.size() < length) throw X11Error::malformedReply();
    auto value = body.first(length);
    body = body.subspan(length);
    if (length >= sizeof(std::int32_t)) processes[identity.client] = take<std::int32_t>(value);
  }
  return processes;
}

X11ClientProcesses::X11ClientProcesses(const X11Connection& connection)
    : clientBits_(~xcb_get_setup(connection.get())->resource_id_mask) {
  if (!tellsProcesses(connection)) return;
  const xcb_res_client_id_spec_t everyone{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto answer = connection.reply(xcb_res_query_client_ids_reply,
                                       xcb_res_query_client_ids(connection.get(), 1, &everyone));
  const auto* body = reinterpret_cast<const std::byte*>(answer.get() + 1);
  const std::span bytes(body, static_cast<std::size_t>(answer->length) * 4);
  for (const auto& [client, process] : parseClientProcesses(bytes, answer->num_ids))
    processes_[client & clientBits_] = process;
}

std::int32_t X11ClientProcesses::processOf(xcb_window_t window) const {
  const auto found = processes_.find(window & clientBits_);
  return found != processes_.end() ? found->second : 0;
}

}  // namespace tarvinel
