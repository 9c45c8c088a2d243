#include "bench/floor/FileParsers.h"

#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <pugixml.hpp>

#include "vexa/common/FileService.h"
#include "vexa/fx/Parser.h"
#include "vexa/io/RawAnimation.h"
#include "vexa/terrain/ChunkData.h"
#include "vxdependency/generators/IncludeScan.h"

namespace bench {

namespace {

bool ParseXml(Buffer& buffer, Totals& totals) {
    constexpr unsigned kOptions =
        pugi::parse_escapes | pugi::parse_wconv_attribute | pugi::parse_embed_pcdata;
    pugi::xml_document document;
    if (!document.load_buffer_inplace(buffer.bytes.data(), buffer.size, kOptions)) return false;
    struct Counter : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node& node) override {
            count += std::ranges::distance(node.attributes());
            return true;
        }
        long count = 0;
    } counter;
    document.traverse(counter);
    totals.values += counter.count;
    return true;
}

bool ParseJson(Buffer& buffer, Totals& totals) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    constexpr unsigned kOptions = rapidjson::kParseInsituFlag | rapidjson::kParseCommentsFlag;
    struct Counter : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Counter> {
        bool String(const char*, rapidjson::SizeType, bool) { return ++count != 0; }
        bool Key(const char*, rapidjson::SizeType, bool) { return true; }
        long count = 0;
    } counter;
    const std::size_t begin = buffer.Text().starts_with(kMark) ? kMark.size() : 0;
    rapidjson::InsituStringStream stream(buffer.bytes.data() + begin);
    if (!rapidjson::Reader().Parse<kOptions>(stream, counter)) return false;
    totals.values += counter.count;
    return true;
}

// Some extensions are of both.
bool ParseDocument(Buffer& buffer, Totals& totals) {
    const std::size_t first = buffer.Text().find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    const bool json = first != std::string_view::npos &&
                      std::string_view("{[/").find(buffer.bytes[first]) != std::string_view::npos;
    return json ? ParseJson(buffer, totals) : ParseXml(buffer, totals);
}

bool ParseShader(Buffer& buffer, Totals& totals) {
    totals.values += static_cast<long>(vexa::ScanIncludes(buffer.Text()).size());
    return true;
}

// Textures have an annotation that names an image.
bool ParseEffect(Buffer& buffer, Totals& totals) {
    vexa::fx::Parser parser;
    const auto effect = parser.Parse_IgnoreError(buffer.bytes.data(), buffer.size);
    if (!effect) return false;
    for (std::size_t i = 0; i < effect->GetParamCount(); ++i) {
        const vexa::fx::Param& param = effect->GetParam(i);
        totals.values += param.GetType() == vexa::fx::kTextureType && param.GetAnnotation();
    }
    totals.values += static_cast<long>(effect->GetPassShaders().size());
    return ParseShader(buffer, totals);
}

bool ParseSprite(Buffer& buffer, Totals& totals) {
    const std::string_view text = buffer.Text();
    std::size_t at = 0;
    for (int line = 0; line < 4; ++line) {
        at = text.find_first_not_of("\r\n", text.find_first_of("\r\n", at));
        if (at >= text.size()) return false;
    }
    ++totals.values;
    return true;
}

class BufferFile final : public vexa::IFile {
public:
    explicit BufferFile(const Buffer& buffer) : m_buffer(buffer) {}
    const char* GetText() const override { return m_buffer.bytes.data(); }
    const char* GetData() const override { return m_buffer.bytes.data(); }
    std::size_t GetSize() const override { return m_buffer.size; }
    void Release() override {}

private:
    const Buffer& m_buffer;
};

bool ParseChunk(Buffer& buffer, Totals& totals) {
    vexa::terrain::ChunkData chunk(0, 0);
    if (!chunk.ReadDirectly(BufferFile(buffer))) return false;
    const auto textures = chunk.GetAllTexture();
    totals.values +=
        std::ranges::count_if(textures, [](const auto* one) { return one != nullptr; });
    totals.values += *chunk.GetSurfaceName() != '\0';
    return true;
}

bool ParseAnimation(Buffer& buffer, Totals& totals) {
    vexa::vxio::RawAnimation animation;
    vexa::vxio::MemoryInput input(buffer.Text());
    if (!animation.ReadHead(input)) return false;
    totals.values += !animation.reference.empty();
    return true;
}

}  // namespace

FileParsers::FileParsers(const std::string& project) {
    const std::string rules = project + "/builtin/res/builtin/dependency_config/";
    AddRules(rules + "xml_config.json");
    AddRules(rules + "json_config.json");
    for (const char* extension : {"vs", "ps", "hlsl"}) m_byExtension[extension] = ParseShader;
    for (const char* extension : {"nfx", "spx"}) m_byExtension[extension] = ParseEffect;
    m_byExtension["spr"] = ParseSprite;
    m_byExtension["chunk"] = ParseChunk;
    m_byExtension["rawanimation"] = ParseAnimation;
}

void FileParsers::AddRules(const std::string& file) {
    std::ifstream in(file);
    rapidjson::IStreamWrapper stream(in);
    rapidjson::Document rules;
    rules.ParseStream(stream);
    if (!rules.IsObject()) {
        std::fprintf(stderr, "%s: no rules\n", file.c_str());
        std::exit(1);
    }
    for (const auto& member : rules.GetObject())
        m_byExtension[member.name.GetString()] = ParseDocument;
}

FileParsers::Parser FileParsers::For(std::string_view name) const {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    const auto found = m_byExtension.find(std::string(name.substr(dot + 1)));
    return found == m_byExtension.end() ? nullptr : found->second;
}

}  // namespace bench
