#include <QFile>
#include <QXmlStreamReader>

#include "BusTestSupport.h"
#include "QtPrinters.h"
#include "ui/DBusMenuExporter.h"
#include "ui/StatusNotifierItem.h"

namespace tarnwell {
namespace {

// The members of one interface in an introspection document, each written as
// "method Name(in:...;out:...)", "signal Name(...)" or "property Name type".
QStringList membersOf(const QString &xml, const QString &interfaceName) {
    QStringList members;
    QXmlStreamReader reader(xml);
    bool inInterface = false;
    QString current;
    QStringList arguments;
    while (!reader.atEnd()) {
        reader.readNext();
        const QStringView name = reader.name();
        const auto attributes = reader.attributes();
        if (reader.isStartElement()) {
            if (name == u"interface") {
                inInterface = attributes.value(QStringLiteral("name")) == interfaceName;
            } else if (!inInterface) {
                continue;
            } else if (name == u"method" || name == u"signal") {
                current = name.toString() + QLatin1Char(' ') +
                          attributes.value(QStringLiteral("name")).toString();
                arguments.clear();
            } else if (name == u"arg") {
                const QString direction = attributes.value(QStringLiteral("direction")).toString();
                const bool isSignal = current.startsWith(QLatin1String("signal"));
                arguments.append(
                    (isSignal || direction.isEmpty() ? QStringLiteral("in") : direction) +
                    QLatin1Char(':') + attributes.value(QStringLiteral("type")).toString());
            } else if (name == u"property") {
                members.append(
                    QStringLiteral("property ") +
                    attributes.value(QStringLiteral("name")).toString() + QLatin1Char(' ') +
                    attributes.value(QStringLiteral("type")).toString() + QLatin1Char(' ') +
                    attributes.value(QStringLiteral("access")).toString());
            }
        } else if (reader.isEndElement() && inInterface &&
                   (name == u"method" || name == u"signal")) {
            // Introspection may list a method's outputs first; only the order
            // within each direction matters on the wire.
            std::stable_sort(
                arguments.begin(), arguments.end(), [](const QString &a, const QString &b) {
                    return a.startsWith(QLatin1String("in")) && b.startsWith(QLatin1String("out"));
                });
            members.append(current + QLatin1Char('(') + arguments.join(QLatin1Char(';')) +
                           QLatin1Char(')'));
        } else if (reader.isEndElement() && name == u"interface") {
            inInterface = false;
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    members.sort();
    return members;
}

QString fileText(const QString &name) {
    QFile file(QStringLiteral(TARNWELL_DBUS_INTERFACE_DIR "/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return QString::fromUtf8(file.readAll());
}

struct InterfaceCase {
    const char *file;
    const char *interfaceName;
    const char *path;
    friend void PrintTo(const InterfaceCase &c, std::ostream *out) { *out << c.interfaceName; }
};

class InterfaceDescription : public ::testing::TestWithParam<InterfaceCase> {};

// The XML files document the interfaces for whoever writes a host or a test;
// they must say exactly what the live objects do.
TEST_P(InterfaceDescription, MatchesTheLiveObject) {
    registerDBusTypes();
    StatusNotifierItem item(QStringLiteral("tarnwell"), QDBusConnection::sessionBus());
    QDBusConnection peer = test::peerConnection(QStringLiteral("peer"));
    QDBusMessage introspect = QDBusMessage::createMethodCall(
        item.serviceName(), QString::fromUtf8(GetParam().path),
        QStringLiteral("org.freedesktop.DBus.Introspectable"), QStringLiteral("Introspect"));
    const QDBusMessage reply = test::callAndWait(peer, introspect);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage);

    const QString interfaceName = QString::fromUtf8(GetParam().interfaceName);
    const QStringList documented =
        membersOf(fileText(QString::fromUtf8(GetParam().file)), interfaceName);
    const QStringList live = membersOf(reply.arguments().at(0).toString(), interfaceName);
    EXPECT_FALSE(documented.isEmpty());
    EXPECT_EQ(live.join(QLatin1Char('\n')).toStdString(),
              documented.join(QLatin1Char('\n')).toStdString());
    QDBusConnection::disconnectFromBus(QStringLiteral("peer"));
}

INSTANTIATE_TEST_SUITE_P(Bus, InterfaceDescription,
                         ::testing::Values(InterfaceCase{"org.kde.StatusNotifierItem.xml",
                                                         "org.kde.StatusNotifierItem",
                                                         "/StatusNotifierItem"},
                                           InterfaceCase{"com.canonical.dbusmenu.xml",
                                                         "com.canonical.dbusmenu", "/MenuBar"}),
                         [](const auto &info) {
                             std::string name = info.param.interfaceName;
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

}  // namespace
}  // namespace tarnwell
