#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "vexa/Export.h"

namespace vexa {

// The interpretations of a reference's text; a rule carries a mask of them.
enum class FNStrategyType : int {
    Directory = 0x1,       // relative to the referring file's directory
    Root = 0x2,            // text that looks like a path: relative to the resource root
    Anchored = 0x8,        // a leading "/" or "res/" is taken off
    Effect = 0x10,         // an effect named with or without ".nfx"; its companions to theirs
    Selector = 0x20,       // everything from the first "#", "?" or "|" is taken off
    Binding = 0x80,        // the files bound to the named resource go to the companion list
    ImageType = 0x100,     // an image that is there under another image extension only
    RawAnimation = 0x400,  // the animation; the resource that it names goes to the companion list
    TerrainTool = 0x800,   // a terrain-tool folder: its three files
};

enum class PathGoal : int { All = 0, WorkingName = 1 };

// How a reference's text can be read.
struct NameReadings {
    std::vector<std::string> paths;        // candidates, the working name last
    std::vector<std::int32_t> strategies;  // for each, the one that yielded it; 0: the text itself
    std::vector<std::string> companions;   // existing files that come with the named resource
};

// Turns the text of a reference into the resource paths that it stands for, and back. No state; any
// thread.
class VX_API FileNameProcessor {
public:
    using List = std::vector<std::string>;

    // The candidates for the reference `text` in `file` (generator form), in the order in which the
    // strategies of `mask` run, the working name last: the text as the adjusting strategies leave
    // it. Paths that strategies add are keys; candidates need not exist, except where a strategy
    // says so. Second, the companion list: what comes with the named resource and exists, as keys.
    // The reference does not name those files: renaming one of them leaves its text alone. With
    // goal WorkingName the first list holds the working name alone.
    //
    // The order of the strategies is fixed, and not that of their bits: 0x2, 0x1, 0x80, 0x10, 0x8,
    // 0x20, 0x100, 0x400, 0x800. Throws only what loading the generators throws, which 0x80, 0x10
    // and 0x400 may cause.
    static std::pair<List, List> Execute(const std::string& file, const std::string& text, int mask,
                                         PathGoal goal);

    // The same, telling which strategy yielded which candidate. What was looked for beside the
    // named resource and is not there is reported to the thread's reference observer.
    static NameReadings Read(const std::string& file, const std::string& text, int mask);

    // The text that names the resource `newPath` (a key) in the form that `text`, a reference in
    // `file` (generator form) read by `mask`, has: relative to the file or from the resource root;
    // its separator; a leading "/", "./" or "res/"; its selector, under 0x20; without ".nfx", under
    // 0x10, if the text left it out; with the image extension that the text has, under 0x100, if
    // `newPath` is then what is found; the folder, under 0x800, of a terrain part (the other parts
    // are taken to go with it). A folder that stays keeps its spelling. `oldPath` (a key), which
    // the text has named, tells how the text is to be read where it can be read in several ways.
    //
    // Call it when the files lie where they will: what is there decides whether an image's
    // extension may stay, and between forms a text that also names an existing file of another
    // folder is avoided. Where no such form names `newPath` (a name with "#" under 0x20), the
    // nearest that does is returned: the other reading, then the path in full, then without the
    // selector; where nothing does, the form of `text` all the same, for which Names is false. ""
    // gives "", and what is no key is returned as it stands. Bit 0x4 (a caller saw a "/" in the
    // text) changes nothing.
    // Throws as Execute does, and so does Names.
    static std::string Revert(const std::string& file, const std::string& text, int mask,
                              const std::string& newPath, const std::string& oldPath = "");

    // Whether `path` (a key) is among the candidates for the reference.
    static bool Names(const std::string& file, const std::string& text, int mask,
                      const std::string& path);

    // True for one line of at most 260 characters without control characters, that is no URL, no
    // "data:" text and no number, and has a separator or an extension of 1 to 16 letters and digits
    // with a letter among them.
    static bool IsAPath(const std::string& text);
};

}  // namespace vexa
