#include "app/capture/x11/windows/ClientProcesses.h"

#include "app/x11/Connection.h"
#include "app/x11/Error.h"
#include "app/x11/Property.h"

#include <xcb/res.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>

namespace tarvinel::x11 {

namespace {

bool reportsProcesses(const Connection& connection) {
  if (connection.extension(xcb_res_id) == nullptr) return false;
  const auto version =
      connection.reply(xcb_res_query_version_reply, xcb_res_query_version(connection.get(), 1, 2));
  return version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2);
}

template <class Record>
Record take(std::span<const std::byte>& body) {
  Record record{};
  if (body.size() < sizeof record) throw Error::malformedReply();
  std::memcpy(&record, body.data(), sizeof record);
  body = body.subspan(sizeof record);
  return record;
}

/// Returns 0 if the property holds no valid process ID.
std::int32_t claimedProcess(const std::optional<Property>& property) {
  return std::max(static_cast<std::int32_t>(firstNumber(property).value_or(0)), 0);
}

}  // namespace

std::unordered_map<std::uint32_t, std::int32_t> parseClientProcesses(
    std::span<const std::byte> body, std::size_t count) {
  std::unordered_map<std::uint32_t, std::int32_t> processes;
  for (std::size_t i = 0; i < count; ++i) {
    const auto identity = take<xcb_res_client_id_spec_t>(body);
    const auto length = take<std::uint32_t>(body);  // bytes
    if (body.size() < length) throw Error::malformedReply();
    auto value = body.first(length);
    body = body.subspan(length);
    if (length >= sizeof(std::int32_t)) processes[identity.client] = take<std::int32_t>(value);
  }
  return processes;
}

ClientProcesses::ClientProcesses(const Connection& connection, const Atoms& atoms,
                                 const std::vector<xcb_window_t>& windows)
    : clientBits_(~xcb_get_setup(connection.get())->resource_id_mask) {
  if (reportsProcesses(connection)) queryServer(connection);
  std::vector<xcb_window_t> unknown;
  std::ranges::copy_if(windows, std::back_inserter(unknown),
                       [this](xcb_window_t window) { return processOf(window) == 0; });
  queryWindows(connection, atoms, unknown);
}

void ClientProcesses::queryServer(const Connection& connection) {
  const xcb_res_client_id_spec_t everyone{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto reply = connection.reply(xcb_res_query_client_ids_reply,
                                      xcb_res_query_client_ids(connection.get(), 1, &everyone));
  const auto* body = reinterpret_cast<const std::byte*>(reply.get() + 1);
  const std::span bytes(body, static_cast<std::size_t>(reply->length) * 4);
  for (const auto& [client, process] : parseClientProcesses(bytes, reply->num_ids))
    processes_[client & clientBits_] = process;
}

void ClientProcesses::queryWindows(const Connection& connection, const Atoms& atoms,
                                   const std::vector<xcb_window_t>& windows) {
  std::set<std::int32_t> known;
  for (const auto& [client, process] : processes_)
    known.insert(process);
  std::vector<xcb_get_property_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows)
    cookies.push_back(requestProperty(connection, window, atoms.pid));
  for (std::size_t i = 0; i < windows.size(); ++i) {
    const std::int32_t claimed = claimedProcess(receiveProperty(connection, cookies[i]));
    if (claimed == 0 || known.contains(claimed)) continue;
    processes_.try_emplace(windows[i] & clientBits_, claimed);
  }
}

std::int32_t ClientProcesses::processOf(xcb_window_t window) const {
  const auto found = processes_.find(window & clientBits_);
  return found != processes_.end() ? found->second : 0;
}

}  // namespace tarvinel::x11
