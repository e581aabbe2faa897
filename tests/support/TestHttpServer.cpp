#include "TestHttpServer.h"

#include <QTcpSocket>

namespace tarnwell::test {

TestHttpServer::TestHttpServer() {
    server_.listen(QHostAddress::LocalHost, 0);
    connect(&server_, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = server_.nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QObject::destroyed, this, [this, socket] { buffers_.remove(socket); });
        }
    });
}

QUrl TestHttpServer::url(const QString &path) const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(server_.serverPort()).arg(path));
}

void TestHttpServer::readFrom(QTcpSocket *socket) {
    QByteArray &buffer = buffers_[socket];
    buffer += socket->readAll();
    const qsizetype headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0) {
        return;
    }
    ReceivedRequest request;
    const QList<QByteArray> lines = buffer.left(headerEnd).split('\n');
    const QList<QByteArray> requestLine = lines.first().trimmed().split(' ');
    request.method = requestLine.value(0);
    request.path = requestLine.value(1);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines[i].indexOf(':');
        if (colon > 0) {
            request.headers.insert(lines[i].left(colon).trimmed().toLower(),
                                   lines[i].mid(colon + 1).trimmed());
        }
    }
    const qsizetype length = request.headers.value("content-length", "0").toLongLong();
    if (buffer.size() < headerEnd + 4 + length) {
        return;
    }
    request.body = buffer.mid(headerEnd + 4, length);
    buffer.clear();
    requests_.append(request);
    answer(socket, script_.isEmpty()
                       ? ScriptedReply::respond(200, {{"Content-Type", "application/json"}}, "{}")
                       : script_.takeFirst());
    emit requestReceived();
}

void TestHttpServer::answer(QTcpSocket *socket, const ScriptedReply &reply) {
    switch (reply.action) {
        case ScriptedReply::Action::DropConnection:
            socket->abort();
            socket->deleteLater();
            return;
        case ScriptedReply::Action::Stall:
            return;
        case ScriptedReply::Action::EndlessBody:
            socket->write("HTTP/1.1 200 Scripted\r\nContent-Length: 1073741824\r\n\r\n" +
                          reply.body);
            return;
        case ScriptedReply::Action::Respond:
            break;
    }
    QByteArray response = "HTTP/1.1 " + QByteArray::number(reply.status) + " Scripted\r\n";
    for (const auto &[name, value] : reply.headers) {
        response += name + ": " + value + "\r\n";
    }
    response += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n";
    response += "Connection: close\r\n\r\n" + reply.body;
    socket->write(response);
    socket->disconnectFromHost();
}

}  // namespace tarnwell::test
