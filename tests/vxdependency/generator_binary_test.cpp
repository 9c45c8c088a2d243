// Sprites, terrain chunks and raw animations.

#include <array>
#include <fstream>
#include <numeric>
#include <optional>
#include <tuple>

#include "tests/support/Reading.h"
#include "vexa/io/RawAnimation.h"
#include "vexa/terrain/ChunkData.h"

namespace vexa::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BinaryReading : public ReadingTest, public IReferenceObserver {
protected:
    BinaryReading()
        : ReadingTest(R"({"surf": {"name_list": [{"e": "Texture*", "a": "file", "s": 1}]},
                          "scn": {"name_list": [{"e": "play", "a": "file", "s": 1024}]}})") {}

    bool Read(const std::string& key) {
        places.clear();
        const ObserverUse use(this);
        return ReadingTest::Read(key);
    }
    // Where references stand must be where their text stands.
    void OnReference(const ReferenceReport& report) override {
        const ReferencePlace place = report.site.Describe();
        IFileService& files = InterfaceBox::Instance().GetFileService();
        std::ifstream stream(files.AbsolutePath(report.file), std::ios::binary);
        std::string text(report.text.size(), ' ');
        stream.seekg(static_cast<std::streamoff>(place.offset));
        stream.read(text.data(), static_cast<std::streamsize>(text.size()));
        EXPECT_EQ(text, report.text);
        places.push_back(place.rule + " " + std::to_string(place.line));
    }
    void OnAbsent(const std::string&) override {}
    void OnReadThrough(const std::string&) override {}

    std::vector<std::string> places;
};

TEST_F(BinaryReading, SpritesNameTheirImageOnTheFourthLine) {
    const std::string lines = "sprite\n16 16\n1\n";
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {lines + "img/a.png 0 0 16 16\nmore", "img/a.png"},
        {lines + "../no\\such.png\nm", "../no\\such.png"},
        {lines + "12.png\tx y\nm", "12.png\tx"},
        {"sprite\r\n16 16\r\n\r\n\n1\r\r\nimg/a.png 1\r\nm", "img/a.png"},
        {"\n\nb\nc\nimg/a.png\nm", "img/a.png"},  // a break at the start ends an empty line
        {lines + "img/a.png 1\r\n\n\r\n", std::nullopt},
        {"", std::nullopt},
        {lines + std::string(286, 'x') + "\nm", std::string(284, 'x')},
        {lines + " img/a.png\nm", ""},
        {lines + std::string("a.png\0b\nm", 9), "a.png"},
    };
    LogCapture log;
    for (const auto& [text, image] : cases) {
        project.Write("dir/s.spr", text);
        EXPECT_EQ(Read("dir/s.spr"), image.has_value()) << testing::PrintToString(text);
        EXPECT_EQ(first, image ? List{*image} : List{}) << testing::PrintToString(text);
        EXPECT_EQ(places.size(), first.size());
    }
    project.Write("dir/s.spr", "a\n\n\nb\nc\na.png\nm");
    EXPECT_TRUE(Read("dir/s.spr"));
    EXPECT_THAT(places, ElementsAre("image 6"));
    EXPECT_FALSE(Read("dir/none.spr"));
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
}

TEST_F(BinaryReading, ChunksNameASurfaceAndTextures) {
    const auto write = [this](const std::string& surface) {
        terrain::ChunkData chunk(0, 0);
        chunk.SetSurfaceName(surface);
        chunk.AddLayer(1);
        for (const char* name : {"tex\\a.png", "", "none.png"}) chunk.AddTexture(name);
        project.Write("t.chunk", chunk.ToBytes());
    };
    LogCapture log;
    for (const char* no : {"rock.mat", "", "surf", "rock.surface"}) {
        write(no);
        EXPECT_TRUE(Read("t.chunk"));
        EXPECT_THAT(first, ElementsAre("tex\\a.png", "none.png")) << no;
    }
    for (const char* surface : {"a.surf.chunk", "a.surface.scn", ".surf"}) {
        write(surface);
        EXPECT_TRUE(Read("t.chunk"));
        EXPECT_THAT(first, ElementsAre(surface, "tex\\a.png", "none.png"));
    }
    write("none/rock.surf");
    EXPECT_TRUE(Read("t.chunk"));
    EXPECT_THAT(places, ElementsAre("surface 0", "texture 0 0", "texture 2 0"));
    EXPECT_THAT(CDependencyManager::GetSingleton().GenerateDependency("t.chunk", ""),
                ElementsAre("none/rock.surf", "tex/a.png", "none.png"));

    project.Write("bad.chunk", "VXTC");
    EXPECT_FALSE(Read("bad.chunk"));
    EXPECT_FALSE(Read("none.chunk"));
    EXPECT_THAT(first, IsEmpty());
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
    EXPECT_TRUE(Generator("t.chunk").RenameReference(".\\t.chunk", "none.png", "b.png"));
    EXPECT_TRUE(Generator("t.chunk").Rename("t.chunk", "a\\t.chunk", false));
}

class RawAnimations : public BinaryReading {
protected:
    static std::string Bytes(const std::string& reference) {
        std::string bytes(40, '\0');
        std::iota(bytes.begin(), bytes.end(), '\xF0');
        return bytes + static_cast<char>(reference.size()) + std::string(3, '\0') + reference +
               std::string("\0body\xFF", 6);
    }
    // Returns the key.
    std::string Write(const std::string& file, const std::string& reference) const {
        std::string key;
        NormaliseKey(file, key);
        project.Write(key, Bytes(reference));
        return key;
    }
    CDependencyBase& Animations() { return Generator("x.rawanimation"); }
};

TEST_F(RawAnimations, NameOneResourceRelativeToTheirFolder) {
    const std::tuple<const char*, const char*, List> cases[] = {
        {"w.rawanimation", "walk.skel", {"walk.skel"}},
        {"a/b/w.rawanimation", "..\\s/walk.skel", {"a/s/walk.skel"}},
        {"a/w.rawanimation", "../../walk.skel", {"../walk.skel"}},
        {"a/w.rawanimation", "/walk.skel", {"a/walk.skel"}},
        {"a/w.rawanimation", "", {}},
    };
    for (const auto& [file, reference, expected] : cases) {
        Write(file, reference);
        EXPECT_TRUE(Read(file)) << reference;
        EXPECT_EQ(first, expected) << reference;
    }
    LogCapture log;
    const std::string whole = Bytes("walk.skel");
    for (const std::string& bytes : {whole.substr(0, 23), whole.substr(0, 43), whole.substr(0, 52),
                                     Bytes(std::string(1, '\0')), std::string(9040, ' ')}) {
        project.Write("bad.rawanimation", bytes);
        EXPECT_FALSE(Read("bad.rawanimation")) << bytes.size();
    }
    EXPECT_FALSE(Read("none.rawanimation"));
    EXPECT_THAT(first, IsEmpty());
    EXPECT_THAT(log.TakeTexts(), IsEmpty());

    // Hundreds of gigabytes of body are no matter.
    project.Write("big.rawanimation", whole);
    std::filesystem::resize_file(project.Resource("big.rawanimation"), std::uintmax_t{1} << 38);
    EXPECT_TRUE(Read("big.rawanimation"));
    EXPECT_THAT(places, ElementsAre("reference 0"));

    // What an animation names comes with it.
    project.Touch("a/b/walk.skel");
    project.Write("a/b/w.rawanimation", Bytes("walk.skel"));
    project.Write("a/play.scn", "<play file='b/w.rawanimation'/>");
    EXPECT_THAT(CDependencyManager::GetSingleton().GenerateDependency("a/play.scn", ""),
                ElementsAre("a/b/w.rawanimation", "a/b/walk.skel"));
}

TEST_F(RawAnimations, KeepNamingTheirResourceWhenTheyMove) {
    project.Touch("a/walk.skel", "both/walk.skel", "top.skel");
    const std::array<const char*, 4> cases[] = {
        // from, to, the reference before and after
        {"a\\w.rawanimation", "both\\w.rawanimation", "walk.skel", "walk.skel"},
        {".\\w.rawanimation", "a\\c\\w.rawanimation", "./top.skel", "../../top.skel"},
        {"a\\w.rawanimation", "b\\c\\w.rawanimation", "..\\top.skel", "..\\..\\top.skel"},
        {"gone\\w.rawanimation", "b\\w.rawanimation", "./none.skel", "../gone/none.skel"},
        {"Dir\\w.rawanimation", "dIR\\w.rawanimation", "./none.skel", "./none.skel"},
        {"a\\w.rawanimation", "b\\w.rawanimation", "", ""},
    };
    for (const auto& [from, to, before, after] : cases) {
        const std::string key = Write(to, before);
        EXPECT_TRUE(Animations().UpdateSelfReferences(from, to)) << to;
        EXPECT_EQ(project.Read(key), Bytes(after)) << to;
        EXPECT_TRUE(Animations().Rename(project.Resource("a/w"), project.Resource(key), true));
        EXPECT_FALSE(Animations().Rename("../w", to, true));
    }
    EXPECT_FALSE(Animations().Rename("a\\w.rawanimation", "none\\w.rawanimation", false));
}

TEST_F(RawAnimations, FollowTheirResourceWhenItMoves) {
    const std::string file = "a\\b\\w.rawanimation";
    const auto renamed = [&](const char* reference, const std::string& from,
                             const std::string& to) {
        project.Write("a/b/w.rawanimation", Bytes(reference));
        EXPECT_TRUE(Animations().RenameReference(file, from, to)) << to;
        return project.Read("a/b/w.rawanimation");
    };
    EXPECT_EQ(renamed("..\\walk.skel", "a/walk.skel", "a/c/walk.skel"), Bytes("..\\c\\walk.skel"));
    EXPECT_EQ(renamed("./walk.skel", "b/walk.skel", "run.skel"), Bytes("./walk.skel"));
    EXPECT_FALSE(Animations().RenameReference(file, "a/b/walk.skel", std::string(5000, 'x')));
    EXPECT_FALSE(Animations().RenameReference(file, "a/b/walk.skel", "../run.skel"));
    EXPECT_TRUE(Animations().RemoveReference(file, "a/b/walk.skel"));
    EXPECT_EQ(project.Read("a/b/w.rawanimation"), Bytes("./walk.skel"));
}

}  // namespace
}  // namespace vexa::test
