#include "crash/RecordParser.h"

#include <charconv>

namespace tarnwell::crash {

const RecordValue *RecordValue::find(std::string_view key) const {
    for (const auto &[name, value] : members) {
        if (name == key) {
            return &value;
        }
    }
    return nullptr;
}

uint64_t RecordValue::unsignedAt(std::string_view key, uint64_t fallback) const {
    const RecordValue *value = find(key);
    uint64_t number = 0;
    if (value == nullptr || value->type != Type::Number) {
        return fallback;
    }
    const auto [end, error] =
        std::from_chars(value->text.data(), value->text.data() + value->text.size(), number);
    return error == std::errc() && end == value->text.data() + value->text.size() ? number
                                                                                  : fallback;
}

std::string RecordValue::stringAt(std::string_view key) const {
    const RecordValue *value = find(key);
    return value != nullptr && value->type == Type::String ? value->text : std::string();
}

namespace {

// Deep enough for every record the kit writes; deeper input is damaged, not a stack risk.
constexpr int kMaxDepth = 32;

class Parser {
public:
    explicit Parser(std::string_view input) : input_(input) {}

    std::optional<RecordValue> parseWhole() {
        RecordValue value;
        if (!parseValue(value, 0)) {
            return std::nullopt;
        }
        skipSpace();
        if (position_ != input_.size()) {
            return std::nullopt;
        }
        return value;
    }

private:
    void skipSpace() {
        while (position_ < input_.size() &&
               (input_[position_] == ' ' || input_[position_] == '\t' ||
                input_[position_] == '\r' || input_[position_] == '\n')) {
            ++position_;
        }
    }

    bool consume(char expected) {
        skipSpace();
        if (position_ < input_.size() && input_[position_] == expected) {
            ++position_;
            return true;
        }
        return false;
    }

    bool consumeWord(std::string_view word) {
        if (input_.substr(position_, word.size()) != word) {
            return false;
        }
        position_ += word.size();
        return true;
    }

    bool parseString(std::string &out) {
        if (!consume('"')) {
            return false;
        }
        for (size_t end = position_; end < input_.size(); ++end) {
            if (input_[end] != '"') {
                continue;
            }
            size_t next = end + 1;
            while (next < input_.size() && input_[next] == ' ') {
                ++next;
            }
            if (next == input_.size() || input_[next] == ',' || input_[next] == ':' ||
                input_[next] == '}' || input_[next] == ']') {
                out.assign(input_.substr(position_, end - position_));
                position_ = end + 1;
                return true;
            }
        }
        return false;
    }

    bool parseNumber(RecordValue &value) {
        const size_t start = position_;
        if (position_ < input_.size() && input_[position_] == '-') {
            ++position_;
        }
        const size_t digits = position_;
        while (position_ < input_.size() && input_[position_] >= '0' && input_[position_] <= '9') {
            ++position_;
        }
        if (position_ == digits) {
            return false;
        }
        value.type = RecordValue::Type::Number;
        value.text.assign(input_.substr(start, position_ - start));
        return true;
    }

    bool parseValue(RecordValue &value, int depth) {
        if (depth > kMaxDepth) {
            return false;
        }
        skipSpace();
        if (position_ >= input_.size()) {
            return false;
        }
        switch (input_[position_]) {
            case '{':
                return parseObject(value, depth);
            case '[':
                return parseArray(value, depth);
            case '"':
                value.type = RecordValue::Type::String;
                return parseString(value.text);
            case 't':
                value.type = RecordValue::Type::Bool;
                value.boolean = true;
                return consumeWord("true");
            case 'f':
                value.type = RecordValue::Type::Bool;
                return consumeWord("false");
            case 'n':
                value.type = RecordValue::Type::Null;
                return consumeWord("null");
            default:
                return parseNumber(value);
        }
    }

    bool parseObject(RecordValue &value, int depth) {
        value.type = RecordValue::Type::Object;
        consume('{');
        if (consume('}')) {
            return true;
        }
        do {
            std::string key;
            RecordValue member;
            if (!parseString(key) || !consume(':') || !parseValue(member, depth + 1)) {
                return false;
            }
            value.members.emplace_back(std::move(key), std::move(member));
        } while (consume(','));
        return consume('}');
    }

    bool parseArray(RecordValue &value, int depth) {
        value.type = RecordValue::Type::Array;
        consume('[');
        if (consume(']')) {
            return true;
        }
        do {
            RecordValue item;
            if (!parseValue(item, depth + 1)) {
                return false;
            }
            value.items.push_back(std::move(item));
        } while (consume(','));
        return consume(']');
    }

    std::string_view input_;
    size_t position_ = 0;
};

}  // namespace

std::optional<RecordValue> parseRecordLine(std::string_view line) {
    return Parser(line).parseWhole();
}

}  // namespace tarnwell::crash
