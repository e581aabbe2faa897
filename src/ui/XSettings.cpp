#include "ui/XSettings.h"

#include <QtEndian>
#include <cstring>

namespace tarnwell {

namespace {

enum SettingKind : uint8_t { kInteger = 0, kString = 1, kColor = 2 };

class BlobReader {
public:
    BlobReader(const QByteArray &blob, bool bigEndian) : blob_(blob), bigEndian_(bigEndian) {}

    bool skip(qsizetype count) {
        if (count < 0 || blob_.size() - position_ < count) {
            return false;
        }
        position_ += count;
        return true;
    }
    std::optional<uint32_t> card32() { return number<uint32_t>(); }
    std::optional<uint16_t> card16() { return number<uint16_t>(); }
    std::optional<uint8_t> card8() {
        if (position_ >= blob_.size()) {
            return std::nullopt;
        }
        return uint8_t(blob_[position_++]);
    }
    // length bytes, then padding to the next multiple of four.
    std::optional<QByteArray> padded(uint32_t length) {
        const qsizetype start = position_;
        if (!skip(qsizetype(length)) || !skip((4 - length % 4) % 4)) {
            return std::nullopt;
        }
        return blob_.mid(start, qsizetype(length));
    }

private:
    template <typename T>
    std::optional<T> number() {
        if (blob_.size() - position_ < qsizetype(sizeof(T))) {
            return std::nullopt;
        }
        T value;
        std::memcpy(&value, blob_.constData() + position_, sizeof(T));
        position_ += qsizetype(sizeof(T));
        return bigEndian_ ? qFromBigEndian(value) : qFromLittleEndian(value);
    }

    const QByteArray &blob_;
    bool bigEndian_;
    qsizetype position_ = 0;
};

}  // namespace

std::optional<QString> xsettingsString(const QByteArray &blob, const QByteArray &name) {
    if (blob.isEmpty()) {
        return std::nullopt;
    }
    BlobReader reader(blob, blob[0] != 0);
    // Byte order and padding, then the manager's serial.
    if (!reader.skip(4) || !reader.card32()) {
        return std::nullopt;
    }
    const auto count = reader.card32();
    if (!count) {
        return std::nullopt;
    }
    for (uint32_t i = 0; i < *count; ++i) {
        const auto kind = reader.card8();
        const auto nameLength = reader.skip(1) ? reader.card16() : std::nullopt;
        const auto settingName = nameLength ? reader.padded(*nameLength) : std::nullopt;
        if (!kind || !settingName || !reader.card32()) {
            return std::nullopt;
        }
        switch (*kind) {
            case kInteger:
                if (!reader.skip(4)) {
                    return std::nullopt;
                }
                break;
            case kString: {
                const auto length = reader.card32();
                const auto value = length ? reader.padded(*length) : std::nullopt;
                if (!value) {
                    return std::nullopt;
                }
                if (*settingName == name) {
                    return QString::fromUtf8(*value);
                }
                break;
            }
            case kColor:
                if (!reader.skip(8)) {
                    return std::nullopt;
                }
                break;
            default:
                return std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace tarnwell
