#include "QRMNumber.h"

namespace tarnwell {

QRMNumber QRMNumber::fromUInt32(uint32_t v) {
    QRMNumber n;
    n.type_ = Type::UInt32;
    n.value_.u32 = v;
    return n;
}

QRMNumber QRMNumber::fromUInt64(uint64_t v) {
    QRMNumber n;
    n.type_ = Type::UInt64;
    n.value_.u64 = v;
    return n;
}

QRMNumber QRMNumber::fromInt32(int32_t v) {
    QRMNumber n;
    n.type_ = Type::Int32;
    n.value_.i32 = v;
    return n;
}

QRMNumber QRMNumber::fromFloat(float v) {
    QRMNumber n;
    n.type_ = Type::Float;
    n.value_.f = v;
    return n;
}

uint64_t QRMNumber::toUInt64() const {
    switch (type_) {
        case Type::UInt32:
            return value_.u32;
        case Type::UInt64:
            return value_.u64;
        case Type::Int32:
            return static_cast<uint64_t>(static_cast<int64_t>(value_.i32));
        case Type::Float:
            // Out-of-range floats (infinite, not-a-number, negative) have no
            // defined conversion in C++; read them as 0 rather than invoke
            // undefined behaviour.
            if (!(value_.f >= 0.0f) || value_.f >= 18446744073709551616.0f) {
                return 0;
            }
            return static_cast<uint64_t>(value_.f);
    }
    return 0;
}

int64_t QRMNumber::toInt64() const {
    switch (type_) {
        case Type::UInt32:
            return value_.u32;
        case Type::UInt64:
            return static_cast<int64_t>(value_.u64);
        case Type::Int32:
            return value_.i32;
        case Type::Float:
            if (!(value_.f >= -9223372036854775808.0f && value_.f < 9223372036854775808.0f)) {
                return 0;
            }
            return static_cast<int64_t>(value_.f);
    }
    return 0;
}

double QRMNumber::toDouble() const {
    switch (type_) {
        case Type::UInt32:
            return value_.u32;
        case Type::UInt64:
            return static_cast<double>(value_.u64);
        case Type::Int32:
            return value_.i32;
        case Type::Float:
            return value_.f;
    }
    return 0;
}

bool QRMNumber::operator==(const QRMNumber &other) const {
    if (type_ != other.type_) {
        return false;
    }
    switch (type_) {
        case Type::UInt32:
            return value_.u32 == other.value_.u32;
        case Type::UInt64:
            return value_.u64 == other.value_.u64;
        case Type::Int32:
            return value_.i32 == other.value_.i32;
        case Type::Float:
            return value_.f == other.value_.f;
    }
    return false;
}

}  // namespace tarnwell
