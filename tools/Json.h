#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "Table.h"

namespace ZEB::tool {

// Writes JSON that may stand in a page: it holds no byte that ends a script or
// begins a tag there, whatever the texts are. Control characters come as escapes.
class Json {
  public:
    explicit Json(std::FILE* out) : mOut(out) {}
    ~Json() { flush(); }
    Json(Json const&) = delete;
    Json& operator=(Json const&) = delete;

    Json& begin(char bracket);
    Json& end(char bracket);
    Json& key(std::string_view name);
    Json& value(Cell const& cell);

    template <class Value>
    Json& member(std::string_view name, Value const& cell) {
        return key(name).value(cell);
    }

  private:
    void separate();
    void flush();

    std::FILE* mOut;
    std::string mText;
    bool mNeedsComma = false;
};

}  // namespace ZEB::tool
