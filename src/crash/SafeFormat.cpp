#include "crash/SafeFormat.h"

namespace tarnwell::crash {

size_t formatUnsigned(uint64_t value, unsigned base, char (&out)[kNumberBufferSize]) {
    char reversed[kNumberBufferSize];
    size_t count = 0;
    do {
        const unsigned digit = unsigned(value % base);
        reversed[count++] = char(digit < 10 ? '0' + digit : 'a' + digit - 10);
        value /= base;
    } while (value != 0 && count < kNumberBufferSize - 1);
    for (size_t i = 0; i < count; ++i) {
        out[i] = reversed[count - 1 - i];
    }
    out[count] = '\0';
    return count;
}

size_t safeStringLength(const char *text) {
    size_t length = 0;
    while (text[length] != '\0') {
        ++length;
    }
    return length;
}

namespace {

class Output {
public:
    Output(char *out, size_t size) : out_(out), size_(size) {}
    void put(char c) {
        if (length_ + 1 < size_) {
            out_[length_++] = c;
        }
    }
    void put(const char *text) {
        while (*text != '\0') {
            put(*text++);
        }
    }
    size_t finish() {
        if (size_ > 0) {
            out_[length_] = '\0';
        }
        return length_;
    }

private:
    char *out_;
    size_t size_;
    size_t length_ = 0;
};

}  // namespace

size_t safeFormatV(char *out, size_t size, const char *format, va_list args) {
    Output output(out, size);
    char digits[kNumberBufferSize];
    for (const char *p = format; *p != '\0'; ++p) {
        if (*p != '%') {
            output.put(*p);
            continue;
        }
        const char *directive = p++;
        int longs = 0;
        bool sizeType = false;
        for (;; ++p) {
            if (*p == 'l') {
                ++longs;
            } else if (*p == 'z') {
                sizeType = true;
            } else {
                break;
            }
        }
        const bool wide = longs > 0 || sizeType;
        switch (*p) {
            case 'd':
            case 'i': {
                const int64_t value = wide ? (longs > 1 ? int64_t(va_arg(args, long long))
                                                        : int64_t(va_arg(args, long)))
                                           : int64_t(va_arg(args, int));
                if (value < 0) {
                    output.put('-');
                }
                const uint64_t magnitude = value < 0 ? 0 - uint64_t(value) : uint64_t(value);
                formatUnsigned(magnitude, 10, digits);
                output.put(digits);
                break;
            }
            case 'u':
            case 'x': {
                const uint64_t value = wide
                                           ? (longs > 1 ? uint64_t(va_arg(args, unsigned long long))
                                                        : uint64_t(va_arg(args, unsigned long)))
                                           : uint64_t(va_arg(args, unsigned));
                formatUnsigned(value, *p == 'u' ? 10 : 16, digits);
                output.put(digits);
                break;
            }
            case 'p':
                output.put("0x");
                formatUnsigned(uint64_t(uintptr_t(va_arg(args, void *))), 16, digits);
                output.put(digits);
                break;
            case 's': {
                const char *text = va_arg(args, const char *);
                output.put(text != nullptr ? text : "(null)");
                break;
            }
            case 'c':
                output.put(char(va_arg(args, int)));
                break;
            case '%':
                output.put('%');
                break;
            default:
                // Unknown directive: show it as written so the message stays readable.
                for (const char *q = directive; q <= p && *q != '\0'; ++q) {
                    output.put(*q);
                }
                if (*p == '\0') {
                    return output.finish();
                }
        }
    }
    return output.finish();
}

size_t safeFormat(char *out, size_t size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const size_t length = safeFormatV(out, size, format, args);
    va_end(args);
    return length;
}

}  // namespace tarnwell::crash
