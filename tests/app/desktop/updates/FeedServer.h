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

/// An HTTP server on this computer, in a toolkit's loop, whose responses a test specifies byte for
/// byte.
class FeedServer {
 public:
  /// Responds to a request on the connection from which it came.
  using Answer = std::function<void(QTcpSocket&)>;

  FeedServer();
  virtual ~FeedServer();
  FeedServer(const FeedServer&) = delete;
  FeedServer& operator=(const FeedServer&) = delete;

  /// Returns the address of a path, such as "/feed.xml".
  std::string url(const std::string& path) const;

  void answer(const std::string& path, Answer answer);

  /// The heads of the requests so far, their field names in lower case: case has no meaning in them
  /// (RFC 9110, section 5.1), and versions of the toolkit differ.
  const std::vector<std::string>& requests() const { return requests_; }

  /// Returns how many connections have ended so far.
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

/// The same over TLS, with a certificate that is not trusted by default.
class SecureFeedServer : public FeedServer {
 public:
  SecureFeedServer();
};

/// During its lifetime this process trusts the certificate of secure feed servers.
class TrustInFeedServers {
 public:
  TrustInFeedServers();
  ~TrustInFeedServers();
  TrustInFeedServers(const TrustInFeedServers&) = delete;
  TrustInFeedServers& operator=(const TrustInFeedServers&) = delete;
};

/// Sends these bytes, then closes the connection.
FeedServer::Answer bytes(const QByteArray& answer);

/// Sends a document with a status such as "200 OK" and more header lines, each with its CRLF.
FeedServer::Answer document(const QByteArray& body, const QByteArray& status = "200 OK",
                            const QByteArray& headLines = {});

FeedServer::Answer redirection(const std::string& location);

/// Sends these bytes, then repeats `more` as long as it is read.
FeedServer::Answer endless(const QByteArray& start, const QByteArray& more);

/// Sends these bytes, then one byte at a time for ever.
FeedServer::Answer drip(const QByteArray& start);

/// Sends nothing and keeps the connection open.
FeedServer::Answer silence();

}  // namespace tarvinel::test
