#include "core/http/HTTPRequest.h"
#include "core/http/HTTPResponse.h"
#include "core/http/Router.h"
#include "core/http/StreamServer.h"
#include "core/http/UploadTransfer.h"
#include "core/pages/UploadPage.h"
#include "core/support/BlockingPool.h"
#include "core/support/SerialQueue.h"
#include "core/uploads/PartialFile.h"
#include "tests/support/Await.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Eventually.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/HangingDisk.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TestClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using test::await;
using test::CapturedLog;
using test::eventually;
using test::TemporaryFolder;
using test::TestClient;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using namespace std::chrono_literals;

constexpr std::int64_t plenty = std::int64_t{1} << 40U;

std::string head(std::string_view path, std::optional<std::size_t> length) {
  const std::string lengthLine = length ? fmt::format("Content-Length: {}\r\n", *length) : "";
  return fmt::format("PUT /upload/{} HTTP/1.1\r\nHost: a\r\n{}\r\n", path, lengthLine);
}

std::string put(std::string_view path, std::string_view body) {
  return head(path, body.size()).append(body);
}

std::string created(std::string_view name) {
  return std::string(
      textOf(HTTPResponse::json("201 Created", fmt::format(R"({{"file":"{}"}})", name))));
}

std::string refused(std::string_view status, std::string_view message) {
  return std::string(textOf(HTTPResponse::jsonError(status, message)));
}

/// A server on a free port that stores uploads in a folder of its own.
class UploadTransferTest : public testing::Test {
 protected:
  void serve(
      const StallRule& stall = {},
      UploadController::FreeSpace freeSpace = [] { return std::optional(plenty); }) {
    controller = std::make_shared<UploadController>(
        storeIn("uploads"), true, UploadController::Limits{.maxBytes = 10'000'000, .stall = stall},
        log.category("upload"), std::move(freeSpace));
    serve(controller);
  }

  void serve(const std::shared_ptr<UploadController>& uploads) {
    server = std::make_unique<StreamServer>(
        broadcaster, log.category("server"),
        StreamServer::Options{.port = 0, .status = [] { return StatusSnapshot{}; }});
    server->setUploads(uploads);
    port = await<std::uint16_t>([this](Completion<std::uint16_t> completion) {
             server->start(std::move(completion));
           }).value();
  }

  std::shared_ptr<UploadStore> storeIn(std::string_view name) {
    return std::make_shared<UploadStore>(folder / name, false, log.category("upload"));
  }

  TestClient sent(const std::string& bytes) const {
    TestClient client(port);
    client.send(bytes);
    return client;
  }

  std::string response(const std::string& request) const { return sent(request).readToEnd(); }

  bool inFlight(int count) const {
    return eventually([&] { return controller->debugInFlight() == count; });
  }

  bool logged(std::string_view text) const {
    return eventually([&] {
      const auto lines = log.lines();
      return std::ranges::any_of(lines,
                                 [&](const auto& line) { return line.find(text) != line.npos; });
    });
  }

  /// Waits until an upload has left nothing behind.
  void expectNothingLeft() {
    EXPECT_TRUE(inFlight(0));
    EXPECT_EQ(controller->debugReservedBytes(), 0);
    EXPECT_THAT(folder.files(), IsEmpty());
  }

  TemporaryFolder folder;
  CapturedLog log;
  FrameBroadcaster broadcaster;
  std::shared_ptr<UploadController> controller;
  std::unique_ptr<StreamServer> server;
  std::uint16_t port = 0;
};

// Files that arrive

TEST_F(UploadTransferTest, ABodyThatComesWithTheHeadIsStored) {
  serve();
  EXPECT_EQ(response(put("Sam/DSC_1234.NEF", "a photo")), created("Sam-DSC_1234.NEF"));
  EXPECT_THAT(folder.files(), ElementsAre("uploads/Sam-DSC_1234.NEF"));
  EXPECT_EQ(folder.read("uploads/Sam-DSC_1234.NEF"), "a photo");
  EXPECT_TRUE(inFlight(0));
  EXPECT_THAT(log.lines(),
              AllOf(Contains(MatchesRegex("upload\\|info\\|start Sam DSC_1234.NEF 7 bytes from "
                                          "127\\.0\\.0\\.1:[0-9]+")),
                    Contains("upload|info|committed Sam-DSC_1234.NEF (7 bytes) for Sam"),
                    Contains(MatchesRegex("upload\\|info\\|done Sam Sam-DSC_1234.NEF 7 bytes in "
                                          "[0-9]+\\.[0-9] s"))));
}

TEST_F(UploadTransferTest, ABodyLargerThanAReadIsStoredByteForByte) {
  serve();
  std::string body(3'000'000, '\0');
  for (std::size_t i = 0; i < body.size(); ++i)
    body[i] = static_cast<char>(i * 7 + i / 255);
  EXPECT_EQ(response(put("Sam/a.jpg", body)), created("Sam-a.jpg"));
  EXPECT_TRUE(folder.read("uploads/Sam-a.jpg") == body);
}

TEST_F(UploadTransferTest, ABodyInManyPiecesIsStored) {
  serve();
  TestClient client(port);
  for (const char letter : put("Sam/a.jpg", "piece by piece"))
    client.send({&letter, 1});
  EXPECT_EQ(client.readToEnd(), created("Sam-a.jpg"));
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "piece by piece");
}

TEST_F(UploadTransferTest, AClientThatEndsItsSideAfterTheBodyGetsItsAnswer) {
  serve();
  TestClient client = sent(put("Sam/a.jpg", "a photo"));
  client.shutdownSend();
  EXPECT_EQ(client.readToEnd(), created("Sam-a.jpg"));
}

TEST_F(UploadTransferTest, NamesOfAnyScriptAreStoredAndTold) {
  serve();
  EXPECT_EQ(response(put("%E8%8A%B1%20%E5%AD%90/%D0%A4%D0%BE%D1%82%D0%BE.PNG", "x")),
            created("花 子-Фото.PNG"));
  EXPECT_THAT(folder.files(), ElementsAre("uploads/花 子-Фото.PNG"));
}

TEST_F(UploadTransferTest, TwoOfTheSameNameAtOnceGetNamesOfTheirOwn) {
  serve();
  TestClient first = sent(head("Sam/DSC_1234.NEF", 6) + "fir");
  TestClient second = sent(head("Sam/DSC_1234.NEF", 6) + "sec");
  ASSERT_TRUE(inFlight(2));
  first.send("st!");
  second.send("ond");
  EXPECT_THAT((std::vector{first.readToEnd(), second.readToEnd()}),
              UnorderedElementsAre(created("Sam-DSC_1234.NEF"), created("Sam-DSC_1234-2.NEF")));
  EXPECT_THAT((std::vector{folder.read("uploads/Sam-DSC_1234.NEF"),
                           folder.read("uploads/Sam-DSC_1234-2.NEF")}),
              UnorderedElementsAre("first!", "second"));
}

TEST_F(UploadTransferTest, AnUploadStaysWithTheStoreThatNamedIt) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(inFlight(1));
  controller->setStore(storeIn("elsewhere"));
  client.send("oto");
  EXPECT_EQ(client.readToEnd(), created("Sam-a.jpg"));
  EXPECT_EQ(response(put("Sam/b.jpg", "x")), created("Sam-b.jpg"));
  EXPECT_THAT(folder.files(), ElementsAre("elsewhere/Sam-b.jpg", "uploads/Sam-a.jpg"));
}

TEST_F(UploadTransferTest, WhileTheyArriveFilesAreHidden) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(eventually([&] { return !folder.files().empty(); }));
  EXPECT_THAT(folder.files(), ElementsAre("uploads/.Sam-a.jpg.partial"));
  client.send("oto");
  EXPECT_EQ(client.readToEnd(), created("Sam-a.jpg"));
  EXPECT_THAT(folder.files(), ElementsAre("uploads/Sam-a.jpg"));
}

// Rejections, in the order of the checks

TEST_F(UploadTransferTest, WithoutAControllerThereIsNothing) {
  serve(nullptr);
  const std::string notFound(textOf(HTTPResponse::notFound()));
  EXPECT_EQ(response(put("Sam/a.jpg", "x")), notFound);
  EXPECT_EQ(response("GET /upload HTTP/1.1\r\n\r\n"), notFound);
  EXPECT_EQ(response("GET /upload/status HTTP/1.1\r\n\r\n"), notFound);
}

TEST_F(UploadTransferTest, RefusesWhatCannotBeAnUploadEvenWhileClosed) {
  serve();
  controller->setEnabled(false);
  EXPECT_EQ(response(put("!!!/a.mov", "")),
            refused("400 Bad Request", "name must contain letters or digits"));
  EXPECT_EQ(response(put("Sam/a.mov", "")),
            refused("415 Unsupported Media Type",
                    "file type not accepted; allowed: 3fr, arw, cr2, cr3, dng, fff, heic, heif, "
                    "iiq, jpeg, jpg, nef, nrw, orf, pef, png, raf, rw2, srw, tif, tiff, x3f"));
  EXPECT_EQ(
      response(put("Sam/README", "")),
      refused("400 Bad Request", "file name must contain letters or digits and an extension"));
  EXPECT_EQ(response(head("Sam/a.jpg", std::nullopt)),
            refused("411 Length Required", "Content-Length required"));
  EXPECT_EQ(response(put("Sam/a.jpg", "")), refused("400 Bad Request", "empty file"));
  EXPECT_EQ(response(head("Sam/a.jpg", 10'000'001)),
            refused("413 Payload Too Large", "files over 0 GB are not accepted"));
  EXPECT_EQ(response(put("Sam/a.jpg", "x")),
            refused("403 Forbidden", "Uploads are closed right now, ask your Pro to open them"));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, TheNinthAtOnceIsTurnedAwayUntilOneEnds) {
  serve();
  std::vector<TestClient> eight;
  for (int i = 0; i < 8; ++i)
    eight.push_back(sent(head("Sam/a.jpg", 2) + "x"));
  ASSERT_TRUE(inFlight(8));
  EXPECT_EQ(response(put("Sam/a.jpg", "xx")),
            refused("503 Service Unavailable", "busy, retry in a few seconds"));
  for (TestClient& client : eight) {
    client.send("x");
    EXPECT_THAT(client.readToEnd(), StartsWith("HTTP/1.1 201 Created\r\n"));
  }
  EXPECT_EQ(response(put("Sam/a.jpg", "xx")), created("Sam-a-9.jpg"));
}

TEST_F(UploadTransferTest, SilentConnectionsOfOneAddressKeepNobodyElseOut) {
  serve();
  std::vector<TestClient> silent;
  for (int i = 0; i < 8; ++i) {
    silent.push_back(sent(head(fmt::format("Eve/{}.jpg", i), 2) + "x"));
    ASSERT_TRUE(logged(fmt::format("start Eve {}.jpg", i)));
  }
  const std::string busy = refused("503 Service Unavailable", "busy, retry in a few seconds");
  EXPECT_EQ(response(put("Eve/8.jpg", "xx")), busy);
  for (int i = 0; i < 4; ++i) {
    TestClient other(port, "127.0.0.2");
    other.send(put("Sam/a.jpg", "a photo"));
    EXPECT_THAT(other.readToEnd(), StartsWith("HTTP/1.1 201 Created\r\n"));
  }
  EXPECT_EQ(silent.back().readToEnd(), busy);
  EXPECT_THAT(log.lines(), Contains("upload|info|abort (503 Service Unavailable): busy, retry in a "
                                    "few seconds"));
  EXPECT_TRUE(inFlight(7));
  EXPECT_FALSE(std::filesystem::exists(folder / "uploads/.Eve-7.jpg.partial"));
}

TEST_F(UploadTransferTest, AFullDiskIsTold) {
  serve({}, [] { return std::optional<std::int64_t>(1'000'000); });
  EXPECT_EQ(response(put("Sam/a.jpg", "x")),
            refused("507 Insufficient Storage", "not enough space on the Pro's disk"));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, With100FilesOfItsNameThereIsNoPlaceForMore) {
  serve();
  for (int i = 0; i < 100; ++i)
    EXPECT_THAT(response(put("Sam/a.jpg", "x")), StartsWith("HTTP/1.1 201 Created\r\n"));
  EXPECT_EQ(response(put("Sam/a.jpg", "x")),
            refused("500 Internal Server Error", "could not create the file"));
  EXPECT_THAT(log.lines(),
              Contains("upload|error|reserve Sam/a.jpg failed: could not find a free name for "
                       "\"Sam-a.jpg\" after 100 attempts"));
  EXPECT_TRUE(inFlight(0));
}

TEST_F(UploadTransferTest, AFolderThatIsGoneIsTold) {
  serve();
  std::filesystem::remove(folder / "uploads");
  EXPECT_EQ(response(put("Sam/a.jpg", "x")),
            refused("500 Internal Server Error", "could not create the file"));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, AFolderThatGoesDuringAnUploadIsTold) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(logged("start Sam"));
  std::filesystem::remove_all(folder / "uploads");
  client.send("oto");
  EXPECT_EQ(client.readToEnd(), refused("500 Internal Server Error", "could not place the file"));
  EXPECT_THAT(log.lines(),
              AllOf(Contains(StartsWith("upload|error|commit failed: ")),
                    Contains("upload|info|abort (500 Internal Server Error): could not place the "
                             "file")));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, AFileThatWasReplacedMeanwhileIsNotTakenForThePhoto) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(logged("start Sam"));
  std::filesystem::remove(folder / "uploads/.Sam-a.jpg.partial");
  folder.write("uploads/.Sam-a.jpg.partial", "of another program");
  client.send("oto");
  EXPECT_EQ(client.readToEnd(), refused("500 Internal Server Error", "could not place the file"));
  EXPECT_THAT(folder.files(), ElementsAre("uploads/.Sam-a.jpg.partial"));
  EXPECT_EQ(folder.read("uploads/.Sam-a.jpg.partial"), "of another program");
  EXPECT_EQ(controller->snapshot().files, 0);
}

TEST_F(UploadTransferTest, AFileThatAnotherProgramHoldsIsLeftToIt) {
  serve();
  const auto held = PartialFile::create(
      std::make_shared<const Directory>(Directory::open(folder / "uploads")), ".Sam-a.jpg.partial");
  EXPECT_EQ(response(put("Sam/a.jpg", "a photo")), created("Sam-a-2.jpg"));
  EXPECT_TRUE(held->hasName(".Sam-a.jpg.partial"));
}

TEST_F(UploadTransferTest, ADiskThatBreaksAtTheEndIsTold) {
  std::filesystem::create_directory(folder / "uploads");
  test::whileCallsFail({SYS_fsync}, EIO, [this] {
    serve();
    EXPECT_EQ(response(put("Sam/a.jpg", "a photo")),
              refused("500 Internal Server Error", "could not write the file"));
    server.reset();
  });
  EXPECT_THAT(log.lines(),
              AllOf(Contains("upload|error|finish failed: Input/output error"),
                    Contains("upload|info|abort (500 Internal Server Error): could not write the "
                             "file")));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, MoreBodyThanAnnouncedIsRefusedAndNothingIsStored) {
  serve();
  EXPECT_EQ(response(head("Sam/a.jpg", 7) + "a photo!"),
            refused("400 Bad Request", "body longer than Content-Length"));
  EXPECT_THAT(log.lines(),
              Contains("upload|info|abort (400 Bad Request): body longer than Content-Length"));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, AnUploadThatFallsSilentIsCutOff) {
  serve({50ms, 0});
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  EXPECT_EQ(client.readToEnd(), refused("408 Request Timeout", "connection stalled, retry"));
  EXPECT_THAT(log.lines(),
              Contains("upload|info|abort (408 Request Timeout): connection stalled, retry"));
  expectNothingLeft();
}

// Clients that leave

TEST_F(UploadTransferTest, AClientThatLeavesHalfwayLeavesNothing) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(logged("start Sam"));
  client.close();
  expectNothingLeft();
  EXPECT_TRUE(logged("connection closed after 4 of 7 bytes; dropping partial"));
}

TEST_F(UploadTransferTest, AClientThatResetsHalfwayLeavesNothing) {
  serve();
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  ASSERT_TRUE(logged("start Sam"));
  client.reset();
  expectNothingLeft();
  EXPECT_TRUE(logged("bytes; dropping partial"));
}

TEST_F(UploadTransferTest, AClientMayLeaveAfterAnyByte) {
  serve();
  const std::string request = put("Sam/a.jpg", "a photo");
  for (std::size_t length = 0; length < request.size(); ++length) {
    sent(request.substr(0, length)).close();
    sent(request.substr(0, length)).reset();
  }
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 0; }));
  expectNothingLeft();
}

TEST_F(UploadTransferTest, AClientThatLeavesWhileTheDiskIsAskedLeavesNothing) {
  HangingDisk disk(plenty);
  serve({}, [&] { return disk.freeSpace(); });
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  disk.waitUntilAsked();
  client.reset();
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 0; }));
  disk.release();
  ASSERT_TRUE(logged("aborted Sam-a.jpg for Sam"));
  expectNothingLeft();
  EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("start Sam"))));
}

TEST_F(UploadTransferTest, AClientThatEndsItsSideTooEarlyWhileTheDiskIsAskedLeavesNothing) {
  HangingDisk disk(plenty);
  serve({}, [&] { return disk.freeSpace(); });
  TestClient client = sent(head("Sam/a.jpg", 7) + "a ph");
  disk.waitUntilAsked();
  client.shutdownSend();
  disk.release();
  EXPECT_EQ(client.readToEnd(), "");
  expectNothingLeft();
}

TEST_F(UploadTransferTest, AServerThatStopsLeavesNothingOfWhatIsUnderWay) {
  serve();
  std::vector<TestClient> clients;
  for (int i = 0; i < 8; ++i)
    clients.push_back(sent(head("Sam/a.jpg", 7) + "a ph"));
  ASSERT_TRUE(inFlight(8));
  server.reset();
  EXPECT_THAT(folder.files(), IsEmpty());
  EXPECT_EQ(controller->debugInFlight(), 0);
}

TEST_F(UploadTransferTest, AServerThatStopsWhileTheDiskIsAskedLeavesNothing) {
  HangingDisk disk(plenty);
  serve({}, [&] { return disk.freeSpace(); });
  TestClient client = sent(put("Sam/a.jpg", "a photo"));
  disk.waitUntilAsked();
  auto stopped = std::async(std::launch::async, [this] { server.reset(); });
  ASSERT_EQ(client.readToEnd(), "");
  disk.release();
  stopped.wait();
  EXPECT_THAT(folder.files(), IsEmpty());
  EXPECT_EQ(controller->debugInFlight(), 0);
}

/// Blocks a queue until it is opened.
class Gate {
 public:
  /// Returns once it is opened; called on the queue.
  void pass() {
    reached_.set_value();
    opened_.get_future().wait();
  }

  void waitUntilReached() { reached_.get_future().wait(); }
  void open() { opened_.set_value(); }

 private:
  std::promise<void> reached_;
  std::promise<void> opened_;
};

// The pool has one thread, so that a gate blocks the disk, and the server is blocked between the
// end of the writing and the beginning of the finishing.
TEST_F(UploadTransferTest, AResetWhileTheUploadIsFinishingKeepsTheFile) {
  Gate writingGate;
  Gate serverGate;
  Gate finishingGate;
  BlockingPool pool(1);
  PooledQueue admission(pool, ".upload-admission");
  PooledQueue disk(pool, ".disk");
  SerialQueue queue(".server");
  controller = std::make_shared<UploadController>(
      storeIn("uploads"), true, UploadController::Limits{}, log.category("upload"), [&] {
        disk.post([&] { writingGate.pass(); });
        return std::optional(plenty);
      });
  asio::ip::tcp::socket unused(queue.context());  // the body comes with the head
  bool responded = false;
  const auto transfer = std::make_shared<UploadTransfer>(
      UploadQueues{queue, admission, pool},
      UploadTransfer::Connection{unused, "", "", [&](const Bytes&) { responded = true; }, [] {}},
      controller);
  queue.sync([&] {
    HTTPRequest request;
    request.headers["content-length"] = "7";
    transfer->start({Route::Kind::uploadFile, "Sam", "a.jpg"}, request, "a photo");
  });
  writingGate.waitUntilReached();
  ASSERT_TRUE(logged("start Sam"));
  queue.post([&] { serverGate.pass(); });
  serverGate.waitUntilReached();
  writingGate.open();
  ASSERT_TRUE(eventually([&] { return folder.read("uploads/.Sam-a.jpg.partial") == "a photo"; }));
  disk.post([&] { finishingGate.pass(); });
  finishingGate.waitUntilReached();
  serverGate.open();
  queue.sync([&] { transfer->connectionClosed(); });  // finishing is waiting for the disk by now
  EXPECT_THAT(folder.files(), ElementsAre("uploads/.Sam-a.jpg.partial"));
  finishingGate.open();
  pool.finish();
  queue.sync([] {});
  EXPECT_THAT(folder.files(), ElementsAre("uploads/Sam-a.jpg"));
  EXPECT_EQ(folder.read("uploads/Sam-a.jpg"), "a photo");
  EXPECT_EQ(controller->snapshot().files, 1);
  EXPECT_EQ(controller->debugInFlight(), 0);
  EXPECT_FALSE(responded);
}

// Other responses of the server

TEST_F(UploadTransferTest, TheServerAnswersWhileADiskHangs) {
  HangingDisk disk(plenty);
  serve({}, [&] { return disk.freeSpace(); });
  TestClient client = sent(put("Sam/a.jpg", "a photo"));
  disk.waitUntilAsked();
  EXPECT_THAT(response("GET /upload/status HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(response("GET / HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
  disk.release();
  EXPECT_EQ(client.readToEnd(), created("Sam-a.jpg"));
}

TEST_F(UploadTransferTest, ServesThePageAndTheStatus) {
  serve();
  for (const char* path : {"/upload", "/upload/"}) {
    EXPECT_EQ(response(fmt::format("GET {} HTTP/1.1\r\n\r\n", path)),
              textOf(HTTPResponse::html(UploadPage::html())));
  }
  response(put("Sam/a.jpg", "a photo"));
  EXPECT_EQ(response("GET /upload/status HTTP/1.1\r\n\r\n"),
            textOf(HTTPResponse::json(
                R"({"enabled":true,"files":1,"bytes":7,"participants":1,"lastParticipant":"Sam",)"
                R"("lastParticipantFiles":1})")));
}

TEST_F(UploadTransferTest, WithoutUploadsNewConnectionsFindNoneAndOldOnesGoOn) {
  serve();
  TestClient before(port);
  ASSERT_TRUE(eventually([&] { return server->debugConnectionCount() == 1; }));
  server->setUploads(nullptr);
  EXPECT_THAT(response("GET /upload HTTP/1.1\r\n\r\n"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
  before.send(put("Sam/a.jpg", "a photo"));
  EXPECT_EQ(before.readToEnd(), created("Sam-a.jpg"));
}

TEST_F(UploadTransferTest, ARefusedClientThatSendsOnReadsWhy) {
  serve();
  TestClient client(port);
  client.send(head("Sam/a.mov", 100'000'000));
  const std::string piece(1'000'000, 'x');
  for (int i = 0; i < 100; ++i)
    client.send(piece);
  EXPECT_THAT(client.readToEnd(), StartsWith("HTTP/1.1 415 Unsupported Media Type\r\n"));
}

}  // namespace
}  // namespace tarvinel
