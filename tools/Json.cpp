#include "Json.h"

#include <type_traits>
#include <variant>

#include "Text.h"

namespace ZEB::tool {

namespace {

constexpr std::size_t FlushedSize = 1 << 16;

void appendString(std::string& out, std::string_view text) {
    out += '"';
    appendText(out, text, Escapes::Json);
    out += '"';
}

}  // namespace

Json& Json::begin(char bracket) {
    separate();
    mText += bracket;
    mNeedsComma = false;
    return *this;
}

Json& Json::end(char bracket) {
    mText += bracket;
    mNeedsComma = true;
    if (mText.size() > FlushedSize) flush();
    return *this;
}

Json& Json::key(std::string_view name) {
    separate();
    appendString(mText, name);
    mText += ':';
    mNeedsComma = false;
    return *this;
}

Json& Json::value(Cell const& cell) {
    separate();
    auto const append = [this](auto const& value) {
        using Value = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Value, std::monostate>) {
            mText += "null";
        } else if constexpr (std::is_same_v<Value, bool>) {
            mText += value ? "true" : "false";
        } else if constexpr (std::is_same_v<Value, double>) {
            appendNumber(mText, value);
        } else if constexpr (std::is_same_v<Value, std::string>) {
            std::string shown;
            appendText(shown, value, Escapes::Backslash);
            appendString(mText, shown);
        } else {
            mText += std::to_string(value);
        }
    };
    std::visit(append, cell);
    return *this;
}

void Json::separate() {
    if (mNeedsComma) mText += ',';
    mNeedsComma = true;
}

// Outside of strings JSON has none of these.
void Json::flush() {
    std::string safe;
    safe.reserve(mText.size());
    for (std::size_t i = 0; i < mText.size(); ++i) {
        std::string_view const three(mText.data() + i, std::min<std::size_t>(3, mText.size() - i));
        if (three[0] == '<') {
            safe += "\\u003c";
        } else if (three[0] == '>') {
            safe += "\\u003e";
        } else if (three[0] == '&') {
            safe += "\\u0026";
        } else if (three == "\u2028" || three == "\u2029") {
            safe += three == "\u2028" ? "\\u2028" : "\\u2029";
            i += 2;
        } else {
            safe += three[0];
        }
    }
    std::fwrite(safe.data(), 1, safe.size(), mOut);
    mText.clear();
}

}  // namespace ZEB::tool
