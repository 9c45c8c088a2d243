#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vexa {

enum class TextEncoding { Utf8, Utf16Little, Utf16Big, Utf32Little, Utf32Big, Latin1 };

// The encoding in which an XML file is written, by its byte order mark, else by how "<" stands at
// its beginning, else by its declaration (Extensible Markup Language 1.0, appendix F). UTF-8 when
// nothing tells, and for declared encodings other than ISO-8859-1: their bytes are kept as they
// are.
TextEncoding DetectXmlEncoding(std::string_view bytes);

// The UTF-8 form of a text; a byte order mark becomes that of UTF-8. What is no character becomes
// U+FFFD; bytes at the end that are too few for a code unit are dropped.
std::string DecodeToUtf8(std::string_view bytes, TextEncoding encoding);

// The way back for a valid UTF-8 text, or any bytes when that is the encoding. Characters that the
// encoding lacks become character references of XML.
std::string EncodeFromUtf8(std::string_view text, TextEncoding encoding);

// The bytes that a text took before DecodeToUtf8 made it.
std::size_t EncodedSize(std::string_view text, TextEncoding encoding);

// Whether a text is well-formed UTF-8.
bool IsUtf8(std::string_view text);

}  // namespace vexa
