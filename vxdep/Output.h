#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vxdep {

// Standard output, where a command's answer goes. A reader that goes away (`| head`) wants no more:
// what follows is dropped, and the exit status tells of the command alone. Any other failing write
// is a Failure. It is also an output stream in RapidJSON's sense.
class Output {
public:
    using Ch = char;

    Output() { m_buffer.reserve(kCapacity); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Put(char c) {
        m_buffer.push_back(c);
        if (m_buffer.size() >= kCapacity) Send();
    }
    void Write(std::string_view text);
    void Line(std::string_view text);

    // RapidJSON calls it after each document; sending waits for Finish.
    void Flush() {}

    // Sends what is left. An answer counts as given only when this returns.
    void Finish();
    // Whether somebody still reads it, as far as the last sending could tell.
    bool HasReader() const { return !m_readerGone; }

private:
    static constexpr std::size_t kCapacity = 1 << 16;

    void Send();
    void Fail();

    std::string m_buffer;
    bool m_readerGone = false;
};

// Prints a list: one entry a line, or a JSON array.
void PrintList(const std::vector<std::string>& list, bool json);

}  // namespace vxdep
