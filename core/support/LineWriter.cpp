#include "core/support/LineWriter.h"

#include "core/support/NonBlockingOutput.h"

#include <fmt/format.h>
#include <poll.h>
#include <pthread.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>

namespace tarvinel {

namespace {

std::string sentenceOn(std::size_t dropped) {
  return fmt::format("{} {} missing here: nothing took them in time", dropped,
                     dropped == 1 ? "line is" : "lines are");
}

}  // namespace

LineWriter::LineWriter(Open open, LineOf lineOf)
    : open_(std::move(open)),
      lineOf_(std::move(lineOf)),
      output_(open_()),
      thread_([this] { run(); }) {}

LineWriter::~LineWriter() {
  flush(endLimit);
  givenUp_.set();
  {
    const std::scoped_lock lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void LineWriter::write(std::string line) {
  const std::scoped_lock lock(mutex_);
  if (dropped_ > 0 || queuedBytes_ + line.size() > maxQueuedBytes) {
    ++dropped_;
    return;
  }
  queuedBytes_ += line.size();
  queue_.push_back(std::move(line));
  changed_.notify_all();
}

bool LineWriter::flush(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, limit, [this] { return queue_.empty() && queuedBytes_ == 0; });
}

void LineWriter::run() {
  pthread_setname_np(pthread_self(), "writer");
  while (const auto line = next()) {
    deliver(*line);
    written(line->size());
  }
}

/// Returns nullopt when the writer ends.
std::optional<std::string> LineWriter::next() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return ending_ || !queue_.empty(); });
  if (queue_.empty()) return std::nullopt;
  std::string line = std::move(queue_.front());
  queue_.pop_front();
  return line;
}

void LineWriter::written(std::size_t bytes) {
  const std::scoped_lock lock(mutex_);
  queuedBytes_ -= bytes;
  if (queue_.empty() && dropped_ > 0) {
    queue_.push_back(lineOf_(sentenceOn(std::exchange(dropped_, 0))));
    queuedBytes_ += queue_.back().size();
  }
  changed_.notify_all();
}

/// Reopens the output after an error, since a restarted service needs another connection.
void LineWriter::deliver(std::string_view line) {
  if (send(line)) return;
  output_ = open_();
  send(line);
}

/// Returns false after an error.
bool LineWriter::send(std::string_view line) const {
  if (!output_) return false;
  while (!line.empty() && waitUntilWritable()) {
    const ssize_t count = writeSome(output_.get(), line);
    if (count >= 0) {
      line.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR && errno != EAGAIN) {
      return false;
    }
  }
  return true;
}

/// Returns false once the queued lines are to be dropped.
bool LineWriter::waitUntilWritable() const {
  std::array<pollfd, 2> waiting{{{output_.get(), POLLOUT, 0}, {givenUp_.fd(), POLLIN, 0}}};
  while (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) {
  }
  return waiting[1].revents == 0;
}

LineStream::LineStream(int fd) : std::ostream(nullptr), buffer_(fd) {
  rdbuf(&buffer_);
}

LineStream::~LineStream() {
  flush();
}

LineStream::Buffer::Buffer(int fd)
    : writer_([fd] { return nonBlockingOutput(fd); },
              [](const std::string& sentence) { return "(" + sentence + ")\n"; }) {}

int LineStream::Buffer::sync() {
  if (!view().empty()) writer_.write(str());
  str({});
  return 0;
}

}  // namespace tarvinel
