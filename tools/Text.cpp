#include "Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace ZEB::tool {

namespace {

struct Sequence {
    std::size_t length;
    bool isValid;
};

// The UTF-8 sequence that text begins with; of one that breaks off, the part that
// could have begun one, which is replaced as a whole.
Sequence sequenceAt(std::string_view text) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned const lead = byte(0);
    if (lead < 0x80) return {1, true};
    std::size_t const length = lead < 0xc2 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (length == 0 || lead > 0xf4) return {1, false};
    // Neither overlong, nor a surrogate, nor above U+10FFFF.
    unsigned low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    unsigned high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size() || byte(i) < low || byte(i) > high) return {i, false};
        low = 0x80;
        high = 0xbf;
    }
    return {length, true};
}

bool isControl(std::string_view sequence) {
    auto const last = static_cast<unsigned char>(sequence.back());
    if (sequence.size() == 1) return last < 0x20 || last == 0x7f;
    return sequence.size() == 2 && sequence[0] == '\xc2' && last < 0xa0;  // U+0080 to U+009F
}

void appendEscape(std::string& out, std::string_view sequence, Escapes escapes) {
    char escape[8];
    if (escapes == Escapes::Json) {
        unsigned const code = static_cast<unsigned char>(sequence.back());
        std::snprintf(escape, sizeof escape, "\\u%04x", code);
        out += escape;
        return;
    }
    for (char const byte : sequence) {
        std::snprintf(escape, sizeof escape, "\\x%02x", unsigned{static_cast<unsigned char>(byte)});
        out += escape;
    }
}

}  // namespace

void appendText(std::string& out, std::string_view bytes, Escapes escapes) {
    for (std::size_t at = 0; at < bytes.size();) {
        Sequence const found = sequenceAt(bytes.substr(at));
        std::string_view const sequence = bytes.substr(at, found.length);
        at += found.length;
        char const first = sequence[0];
        if (!found.isValid) {
            out += "\xef\xbf\xbd";
        } else if (escapes == Escapes::Csv && (first == '\t' || first == '\n' || first == '\r')) {
            out += first;
        } else if (isControl(sequence)) {
            appendEscape(out, sequence, escapes);
        } else {
            bool const needsBackslash = (first == '\\' && escapes != Escapes::Csv) ||
                                        (first == '"' && escapes == Escapes::Json);
            if (needsBackslash) out += '\\';
            out += sequence;
        }
    }
}

std::size_t columnsOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (byte & '\xc0') != '\x80'; }));
}

void appendNumber(std::string& out, double value) {
    if (!std::isfinite(value)) {
        out += std::isnan(value) ? "NaN" : value < 0 ? "-Infinity" : "Infinity";
        return;
    }
    double const size = std::fabs(value);
    bool const isPlain = size == 0 || (size >= 1e-4 && size < 1e16);
    char digits[32];
    auto const end =
        std::to_chars(digits, digits + sizeof digits, value,
                      isPlain ? std::chars_format::fixed : std::chars_format::scientific);
    out.append(digits, end.ptr);
}

}  // namespace ZEB::tool
