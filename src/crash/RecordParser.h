#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnwell::crash {

// One value of a ".crsrecord" line. Normal context only.
struct RecordValue {
    enum class Type { Null, Bool, Number, String, Array, Object };
    Type type = Type::Null;
    bool boolean = false;
    std::string text;  // a string's characters, or a number as written
    std::vector<RecordValue> items;
    std::vector<std::pair<std::string, RecordValue>> members;

    const RecordValue *find(std::string_view key) const;
    // A number member as unsigned; `fallback` when absent or not a number.
    uint64_t unsignedAt(std::string_view key, uint64_t fallback = 0) const;
    // A string member; empty when absent or not a string.
    std::string stringAt(std::string_view key) const;
};

// Parses one record line. The writers do not escape string values, so a string ends at
// the first double quote that is followed by a delimiter (",", ":", "}", "]" or the end),
// which keeps a stray quote inside a value from damaging the line. Nullopt for a line
// that is not one complete value (a record cut short by a crash, say).
std::optional<RecordValue> parseRecordLine(std::string_view line);

}  // namespace tarnwell::crash
