#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "vexa/Export.h"
#include "vexa/fx/Effect.h"

namespace vexa::fx {

// Something in an effect that could not be read.
struct Message {
    std::size_t offset = 0;  // in bytes from the beginning of the text
    std::size_t line = 1;    // from 1
    std::size_t column = 1;  // from 1, in characters
    std::string text;        // "line 3, column 7: expected ';', found '}'"
};

// Reads effects; docs/formats.md says which language. One parser serves one thread; it may parse
// any number of texts, one after another.
class VX_API Parser {
public:
    Parser();

    // The effect's own path, of any form, and a name for a part of it ("" for the whole file). The
    // parser opens no file: they are just handed on to the effects that it returns.
    void SetPath(const std::string& path);
    void SetSubPath(const std::string& subPath);

    // Parses a text in UTF-8 (or another encoding that extends ASCII) of `length` bytes; it need
    // not end in a NUL and may go away afterwards. Nothing is preprocessed: all branches of
    // conditionals are read, and macros stay as they are.
    //
    // An error costs the statement that it stands in, up to the next ';' or balanced '}'. Null
    // when nothing was read: for a text that holds NUL bytes, and for one that has errors and no
    // declaration or technique at all. An empty text is an empty effect. GetErrors tells the
    // errors in any case. Time is linear in `length`, and so is memory at worst; nothing but
    // std::bad_alloc is thrown.
    std::shared_ptr<Effect> Parse_IgnoreError(const char* text, std::size_t length);

    // The errors of the last parse in the order of the text: the first 1000, then one that says
    // that there are more.
    const std::vector<Message>& GetErrors() const;

private:
    std::string m_path;
    std::string m_subPath;
    std::vector<Message> m_errors;
};

}  // namespace vexa::fx
