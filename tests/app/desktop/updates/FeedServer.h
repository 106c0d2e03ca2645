#pragma once

#include <QByteArray>
#include <QTcpServer>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class QTcpSocket;

namespace tarvinel::test {

/// An HTTP server on this computer, on a toolkit's loop, whose answers a test gives byte for byte.
class FeedServer {
 public:
  /// Answers a request on the connection that it came from.
  using Answer = std::function<void(QTcpSocket&)>;

  FeedServer();
  virtual ~FeedServer();
  FeedServer(const FeedServer&) = delete;
  FeedServer& operator=(const FeedServer&) = delete;

  /// The address of a path, such as "/feed.xml".
  std::string url(const std::string& path) const;

  void answer(const std::string& path, Answer answer);

  /// The heads of the requests so far, their field names in lower case: case has no meaning in them
  /// (RFC 9110, section 5.1), and versions of the toolkit differ.
  const std::vector<std::string>& requests() const { return requests_; }

  /// How many of the connections so far have ended.
  int ended() const { return ended_; }

 protected:
  FeedServer(std::string scheme, std::unique_ptr<QTcpServer> server);

 private:
  void accept();
  void read(QTcpSocket& socket, QByteArray& head);

  const std::string scheme_;
  std::map<std::string, Answer> answers_;
  std::vector<std::string> requests_;
  int ended_ = 0;
  const std::unique_ptr<QTcpServer> server_;
};

/// The same over TLS, with a certificate that nobody trusts unless it is told to.
class SecureFeedServer : public FeedServer {
 public:
  SecureFeedServer();
};

/// While it lives, this process trusts the certificate of secure feed servers.
class TrustInFeedServers {
 public:
  TrustInFeedServers();
  ~TrustInFeedServers();
  TrustInFeedServers(const TrustInFeedServers&) = delete;
  TrustInFeedServers& operator=(const TrustInFeedServers&) = delete;
};

/// These bytes, and then the end of the connection.
FeedServer::Answer bytes(const QByteArray& answer);

/// A document with a status such as "200 OK" and more lines of the head, each with its CRLF.
FeedServer::Answer document(const QByteArray& body, const QByteArray& status = "200 OK",
                            const QByteArray& headLines = {});

FeedServer::Answer redirection(const std::string& location);

/// These bytes, then more of the same for as long as they are read.
FeedServer::Answer endless(const QByteArray& start, const QByteArray& more);

/// These bytes, then one at a time for ever.
FeedServer::Answer drip(const QByteArray& start);

/// Nothing; the connection stays.
FeedServer::Answer silence();

}  // namespace tarvinel::test
