#include "vexa/util/TextSplices.h"

#include <algorithm>

namespace vexa {

std::string ApplySplices(std::string_view bytes, TextEncoding encoding, std::string_view text,
                         std::vector<Splice> splices) {
    std::ranges::stable_sort(splices, {}, &Splice::offset);
    std::string result;
    std::size_t done = 0;  // of the text
    for (const Splice& splice : splices) {
        const std::size_t kept = EncodedSize(text.substr(done, splice.offset - done), encoding);
        result += bytes.substr(0, kept);
        result += EncodeFromUtf8(splice.text, encoding);
        const std::size_t dropped =
            EncodedSize(text.substr(splice.offset, splice.length), encoding);
        bytes.remove_prefix(kept + dropped);
        done = splice.offset + splice.length;
    }
    return result += bytes;
}

}  // namespace vexa
