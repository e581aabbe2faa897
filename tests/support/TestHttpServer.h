#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>
#include <QTcpServer>
#include <QUrl>

class QTcpSocket;

namespace tarnwell::test {

// What the server does with the next request.
struct ScriptedReply {
    enum class Action { Respond, DropConnection, Stall, EndlessBody };
    Action action = Action::Respond;
    int status = 200;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    static ScriptedReply respond(int code, QList<QPair<QByteArray, QByteArray>> headers = {},
                                 QByteArray body = {}) {
        return {Action::Respond, code, std::move(headers), std::move(body)};
    }
    static ScriptedReply drop() { return {Action::DropConnection, 0, {}, {}}; }
    static ScriptedReply stall() { return {Action::Stall, 0, {}, {}}; }
    // 200 announcing a gigabyte, of which only start ever arrives.
    static ScriptedReply endlessBody(QByteArray start) {
        return {Action::EndlessBody, 200, {}, std::move(start)};
    }
};

struct ReceivedRequest {
    QByteArray method;
    QByteArray path;
    QMap<QByteArray, QByteArray> headers;  // names in lower case
    QByteArray body;
};

// A small HTTP/1.1 server on the loopback interface, answering each request
// with the next scripted reply (200 with a JSON body once the script is
// used up) and closing the connection after it.
class TestHttpServer : public QObject {
    Q_OBJECT

public:
    TestHttpServer();

    QUrl url(const QString &path = QStringLiteral("/api/v2/events")) const;
    void script(ScriptedReply reply) { script_.append(std::move(reply)); }
    const QList<ReceivedRequest> &requests() const { return requests_; }

signals:
    void requestReceived();

private:
    void readFrom(QTcpSocket *socket);
    void answer(QTcpSocket *socket, const ScriptedReply &reply);

    QList<ScriptedReply> script_;
    QList<ReceivedRequest> requests_;
    QMap<QTcpSocket *, QByteArray> buffers_;
    // Last, so the sockets it owns go before the state their signals touch.
    QTcpServer server_;
};

}  // namespace tarnwell::test
