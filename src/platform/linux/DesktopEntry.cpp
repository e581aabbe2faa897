#include "platform/linux/DesktopEntry.h"

#include <QStringDecoder>

#include "platform/linux/CappedFileRead.h"

namespace tarnwell {

namespace {

bool isKeyCharacter(QChar c) {
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || (c >= u'0' && c <= u'9') ||
           c == u'-';
}

bool isLocaleCharacter(QChar c) {
    return isKeyCharacter(c) || c == u'_' || c == u'@' || c == u'.';
}

// "Name" or "Name[de_DE@euro]".
bool isValidKey(QStringView key) {
    const qsizetype open = key.indexOf(u'[');
    const QStringView name = open < 0 ? key : key.first(open);
    if (name.isEmpty() || !std::all_of(name.begin(), name.end(), isKeyCharacter)) {
        return false;
    }
    if (open < 0) {
        return true;
    }
    const QStringView locale = key.sliced(open + 1);
    return locale.size() >= 2 && locale.endsWith(u']') &&
           std::all_of(locale.begin(), locale.end() - 1, isLocaleCharacter);
}

bool isValidGroupName(QStringView name) {
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar c) {
        return c.unicode() >= 0x20 && c.unicode() < 0x7f && c != u'[' && c != u']';
    });
}

// Resolves \s \n \t \r \\ and \; (the last only means something in lists,
// where the caller has already split on unescaped semicolons).
std::optional<QString> unescape(QStringView raw) {
    QString text;
    text.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] != u'\\') {
            text.append(raw[i]);
            continue;
        }
        if (++i == raw.size()) {
            return std::nullopt;
        }
        switch (raw[i].unicode()) {
            case 's':
                text.append(u' ');
                break;
            case 'n':
                text.append(u'\n');
                break;
            case 't':
                text.append(u'\t');
                break;
            case 'r':
                text.append(u'\r');
                break;
            case '\\':
                text.append(u'\\');
                break;
            case ';':
                text.append(u';');
                break;
            default:
                return std::nullopt;
        }
    }
    return text;
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray &bytes) {
    if (bytes.contains('\0')) {
        return std::nullopt;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    DesktopEntry entry;
    for (QStringView line : QStringView(text).split(u'\n')) {
        if (line.endsWith(u'\r')) {
            line.chop(1);
        }
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(u'#')) {
            continue;
        }
        if (line.startsWith(u'[')) {
            if (!line.endsWith(u']')) {
                return std::nullopt;
            }
            const QString name = line.sliced(1, line.size() - 2).toString();
            if (!isValidGroupName(name) || entry.hasGroup(name)) {
                return std::nullopt;
            }
            if (entry.groups_.isEmpty() && name != QLatin1String(kMainGroup)) {
                return std::nullopt;
            }
            entry.groups_.append(Group{name, {}});
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0 || entry.groups_.isEmpty()) {
            return std::nullopt;
        }
        const QStringView key = line.first(equals).trimmed();
        if (!isValidKey(key)) {
            continue;
        }
        Group &group = entry.groups_.last();
        const bool repeated = std::any_of(group.entries.cbegin(), group.entries.cend(),
                                          [&](const Entry &e) { return e.key == key; });
        if (!repeated) {
            group.entries.append(
                Entry{key.toString(), line.sliced(equals + 1).trimmed().toString()});
        }
    }
    if (entry.groups_.isEmpty()) {
        return std::nullopt;
    }
    return entry;
}

std::optional<DesktopEntry> DesktopEntry::readFile(const QString &path) {
    const std::optional<QByteArray> bytes =
        readCappedRegularFile(path, kMaximumFileSize, FileLinks::Follow);
    if (!bytes || bytes->isEmpty()) {
        return std::nullopt;
    }
    return parse(*bytes);
}

bool DesktopEntry::hasGroup(const QString &group) const {
    return std::any_of(groups_.cbegin(), groups_.cend(),
                       [&](const Group &g) { return g.name == group; });
}

const QString *DesktopEntry::rawValue(const QString &group, const QString &key) const {
    for (const Group &g : groups_) {
        if (g.name != group) {
            continue;
        }
        for (const Entry &e : g.entries) {
            if (e.key == key) {
                return &e.value;
            }
        }
    }
    return nullptr;
}

std::optional<QString> DesktopEntry::string(const QString &key, const QString &group) const {
    const QString *raw = rawValue(group, key);
    if (!raw) {
        return std::nullopt;
    }
    return unescape(*raw);
}

std::optional<QString> DesktopEntry::localeString(const QString &key, const QString &locale,
                                                  const QString &group) const {
    // lang_COUNTRY.ENCODING@MODIFIER: the encoding never takes part in matching.
    QStringView rest = locale;
    QStringView modifier;
    if (const qsizetype at = rest.indexOf(u'@'); at >= 0) {
        modifier = rest.sliced(at + 1);
        rest = rest.first(at);
    }
    if (const qsizetype dot = rest.indexOf(u'.'); dot >= 0) {
        rest = rest.first(dot);
    }
    QStringView lang = rest;
    QStringView country;
    if (const qsizetype underscore = rest.indexOf(u'_'); underscore >= 0) {
        lang = rest.first(underscore);
        country = rest.sliced(underscore + 1);
    }
    QStringList candidates;
    if (!lang.isEmpty()) {
        if (!country.isEmpty() && !modifier.isEmpty()) {
            candidates.append(QStringLiteral("%1_%2@%3").arg(lang, country, modifier));
        }
        if (!country.isEmpty()) {
            candidates.append(QStringLiteral("%1_%2").arg(lang, country));
        }
        if (!modifier.isEmpty()) {
            candidates.append(QStringLiteral("%1@%2").arg(lang, modifier));
        }
        candidates.append(lang.toString());
    }
    for (const QString &candidate : candidates) {
        if (std::optional<QString> value =
                string(QStringLiteral("%1[%2]").arg(key, candidate), group)) {
            return value;
        }
    }
    return string(key, group);
}

QStringList DesktopEntry::strings(const QString &key, const QString &group) const {
    const QString *raw = rawValue(group, key);
    QStringList list;
    if (!raw) {
        return list;
    }
    qsizetype start = 0;
    for (qsizetype i = 0; i <= raw->size(); ++i) {
        if (i < raw->size() && raw->at(i) == u'\\') {
            ++i;  // the escaped character never ends an element
            continue;
        }
        if (i == raw->size() || raw->at(i) == u';') {
            const std::optional<QString> element =
                unescape(QStringView(*raw).sliced(start, i - start));
            if (element && !element->isEmpty()) {
                list.append(*element);
            }
            start = i + 1;
        }
    }
    return list;
}

bool DesktopEntry::boolean(const QString &key, const QString &group) const {
    const QString *raw = rawValue(group, key);
    return raw && *raw == u"true";
}

QString DesktopEntry::execProgram(const QString &exec) {
    QString program;
    qsizetype i = 0;
    while (i < exec.size() && exec[i].isSpace()) {
        ++i;
    }
    if (i < exec.size() && exec[i] == u'"') {
        for (++i; i < exec.size() && exec[i] != u'"'; ++i) {
            if (exec[i] == u'\\' && i + 1 < exec.size()) {
                ++i;
            }
            program += exec[i];
        }
        if (i == exec.size()) {
            return {};
        }
    } else {
        for (; i < exec.size() && !exec[i].isSpace(); ++i) {
            program += exec[i];
        }
    }
    return program.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

}  // namespace tarnwell
