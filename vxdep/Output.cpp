#include "vxdep/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "vxdep/Failure.h"
#include "vxdep/Json.h"

namespace vxdep {

void Output::Write(std::string_view text) {
    m_buffer.append(text);
    if (m_buffer.size() >= kCapacity) Send();
}

void Output::Line(std::string_view text) {
    Write(text);
    Put('\n');
}

void Output::Finish() {
    Send();
    if (!m_readerGone && std::fflush(stdout) != 0) Fail();
}

void Output::Send() {
    const bool sent =
        m_readerGone || std::fwrite(m_buffer.data(), 1, m_buffer.size(), stdout) == m_buffer.size();
    m_buffer.clear();
    if (!sent) Fail();
}

void Output::Fail() {
    if (errno != EPIPE) throw Failure(std::string("standard output: ") + std::strerror(errno));
    m_readerGone = true;
}

void PrintList(const std::vector<std::string>& list, bool json) {
    Output output;
    if (json) {
        JsonWriter writer(output);
        WriteArray(writer, list);
        output.Put('\n');
    } else {
        for (const std::string& entry : list) output.Line(entry);
    }
    output.Finish();
}

}  // namespace vxdep
