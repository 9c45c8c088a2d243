#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "vexa/Export.h"

namespace vexa {

// Generators tell an observer of every reference that they meet while they list what a file refers
// to. So one reading of a format serves the list itself, the record of what is missing, and the
// explanation of where each entry comes from.

// Where a reference stands, and what found it.
struct ReferencePlace {
    std::size_t offset = 0;  // in bytes from the beginning of the file's text
    std::size_t line = 0;    // from 1; 0 in a binary file
    std::string rule;        // for a person: "Texture0 file", "#include", "pass Lit: VertexShader"
};

// Knows where a reference stands. Asked only by observers that want to know, since finding the line
// costs more than most references do.
class IReferenceSite {
public:
    virtual ReferencePlace Describe() const = 0;

protected:
    ~IReferenceSite() = default;
};

// A site made from a function that returns a ReferencePlace.
template <class Function>
class ReferenceSite final : public IReferenceSite {
public:
    explicit ReferenceSite(Function describe) : m_describe(std::move(describe)) {}
    ReferencePlace Describe() const override { return m_describe(); }

private:
    Function m_describe;
};

// A resource that a reference may name.
struct ReferenceCandidate {
    std::string key;
    std::int32_t strategy = 0;  // the FNStrategyType that yielded it; 0 for the text itself
    bool exists = false;
};

struct ReferenceReport {
    const std::string& file;  // that holds the reference, as the generator was handed it
    const std::string& text;  // as it stands there
    const std::string& read;  // with what its rule adds before it is resolved
    std::span<const ReferenceCandidate> candidates;  // each key once
    const std::vector<std::string>& companions;      // files that come with the named resource
    const IReferenceSite& site;
};

// A reference that was given another text.
struct ReferenceRewrite {
    const std::string& file;  // that holds the reference: a key
    ReferencePlace place;     // where its old text stood
    const std::string& oldText;
    const std::string& newText;
};

// Gets reports on the thread that reads. While a file is read through others (an effect through the
// shaders that it includes), their references are reported too, with their own file.
class VX_API IReferenceObserver {
public:
    virtual void OnReference(const ReferenceReport& report) = 0;
    // A file that would have been listed was looked for and is not there (a key, or what
    // ImageFamily makes of one).
    virtual void OnAbsent(const std::string& key) = 0;
    // The list of the file being read depends on what this other file holds.
    virtual void OnReadThrough(const std::string& key) = 0;
    // A rewriting slot changed a reference in a document that it is about to save.
    virtual void OnRewrite(const ReferenceRewrite&) {}

    // The calling thread's observer; null for none.
    static IReferenceObserver* OfThisThread();

protected:
    ~IReferenceObserver() = default;
};

// Makes an observer the calling thread's for the life of the object. A null observer hides the one
// that there is.
class ObserverUse {
public:
    explicit ObserverUse(IReferenceObserver* observer);
    ~ObserverUse();
    ObserverUse(const ObserverUse&) = delete;
    ObserverUse& operator=(const ObserverUse&) = delete;

private:
    IReferenceObserver* m_before;
};

// Each tells the calling thread's observer, if it has one.
void ReportReference(const ReferenceReport& report);
void ReportAbsent(const std::string& key);
void ReportReadThrough(const std::string& key);
void ReportRewrite(const std::string& file, const IReferenceSite& site, const std::string& oldText,
                   const std::string& newText);

// Stands for an image under any image extension: "a/wood.*" for "a/wood.tga". No file is named so
// where it would matter: a spurious match costs one needless reading.
std::string ImageFamily(const std::string& key);

}  // namespace vexa
