#include "updates/VersionComparator.h"

#include <vector>

namespace tarnwell {

namespace {

struct Part {
    bool number;
    QStringView text;  // digits without leading zeros, or letters
};

bool isAsciiDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

std::vector<Part> partsOf(QStringView version) {
    std::vector<Part> parts;
    qsizetype i = 0;
    while (i < version.size()) {
        const qsizetype start = i;
        if (isAsciiDigit(version[i])) {
            while (i < version.size() && isAsciiDigit(version[i])) {
                ++i;
            }
            qsizetype firstSignificant = start;
            while (firstSignificant < i - 1 && version[firstSignificant] == u'0') {
                ++firstSignificant;
            }
            parts.push_back({true, version.sliced(firstSignificant, i - firstSignificant)});
        } else if (version[i].isLetter()) {
            while (i < version.size() && version[i].isLetter()) {
                ++i;
            }
            parts.push_back({false, version.sliced(start, i - start)});
        } else {
            ++i;
        }
    }
    return parts;
}

int compareNumbers(QStringView left, QStringView right) {
    // Without leading zeros the longer digit string is the larger number, so
    // build numbers beyond 64 bits still order right.
    if (left.size() != right.size()) {
        return left.size() < right.size() ? -1 : 1;
    }
    return left.compare(right);
}

// What is left of the longer version decides: a letter part makes it a
// pre-release of the shorter one, a number other than 0 makes it newer.
int compareRest(const std::vector<Part> &parts, size_t from) {
    for (size_t i = from; i < parts.size(); ++i) {
        if (!parts[i].number) {
            return -1;
        }
        if (parts[i].text != u"0") {
            return 1;
        }
    }
    return 0;
}

}  // namespace

int compareVersions(QStringView left, QStringView right) {
    const std::vector<Part> a = partsOf(left);
    const std::vector<Part> b = partsOf(right);
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        if (a[i].number != b[i].number) {
            // A release number outranks a pre-release word in the same place.
            return a[i].number ? 1 : -1;
        }
        const int order =
            a[i].number ? compareNumbers(a[i].text, b[i].text) : a[i].text.compare(b[i].text);
        if (order != 0) {
            return order < 0 ? -1 : 1;
        }
    }
    if (a.size() > common) {
        return compareRest(a, common);
    }
    return -compareRest(b, common);
}

}  // namespace tarnwell
