#pragma once

#include <optional>
#include <string>

// The way back from a path to a reference's text: what the strategies take off or add is put back
// as the text had it.
namespace vexa::reversals {

// A reference that is to name another resource, and the form that its new text takes.
struct Reference {
    std::string file;  // that holds it, in generator form
    std::string body;  // its text without the selector
    std::string selector;
    int mask = 0;
    std::string oldKey;  // what it has named; "" where that is not known

    // The folder part of the text, to be kept as it is written where the new path lies in the same
    // folder; none to write every folder anew.
    std::optional<std::string> folder;
    std::string lead;  // what stands before a path that is written anew
};

// Takes `text` apart as far as `mask` tells its parts.
Reference Parse(const std::string& file, const std::string& text, int mask);

// Whether the text named its resource relative to the file rather than to the resource root, as far
// as the folder of `key` tells; where it does not, a text without anchor is relative.
bool IsRelative(const Reference& reference, const std::string& key);

// What the text has before its first folder, if it is read relative to the file or to the resource
// root: "/", "./", "res/", the resource root's own absolute path.
std::string LeadOf(const Reference& reference, bool relative);

// One step: `text`, at first the key `newKey`, becomes more like the reference's. True when it
// changed.
using Reversal = bool (*)(const Reference& reference, std::string& text, const std::string& newKey);

// A part of a terrain folder becomes the folder.
bool TerrainTool(const Reference& reference, std::string& text, const std::string& newKey);

// An image found under another extension than the text has gets that of the text, if it will be
// found so again.
bool ImageType(const Reference& reference, std::string& text, const std::string& newKey);

// An effect loses the ".nfx" that the text left out.
bool Effect(const Reference& reference, std::string& text, const std::string& newKey);

// The path is written relative to the file, or from the resource root: one of both always runs.
bool Directory(const Reference& reference, std::string& text, const std::string& newKey);
bool Root(const Reference& reference, std::string& text, const std::string& newKey);

bool Selector(const Reference& reference, std::string& text, const std::string& newKey);

}  // namespace vexa::reversals
