// The writing side of the XML generator.

#include <optional>
#include <unordered_set>

#include "vexa/common/InterfaceBox.h"
#include "vexa/common/Log.h"
#include "vexa/io/Path.h"
#include "vxdependency/generators/BindingMoves.h"
#include "vxdependency/generators/DependencyXML.h"
#include "vxdependency/generators/GeneratorMessages.h"
#include "vxdependency/generators/ReferenceObserver.h"
#include "vxdependency/generators/ReferenceRewriter.h"
#include "vxdependency/manager/DependencyManager.h"

namespace vexa {

bool CDependencyXML::RemoveReference(const std::string& file, const std::string& reference) {
    return CDependencyXML::RenameReference(file, reference, "");
}

bool CDependencyXML::RenameReference(const std::string& file, const std::string& oldPath,
                                     const std::string& newPath) {
    std::string key;
    XmlDoc document;
    if (KeyToRead(file, key) && Open(key, document)) {
        RewriteReferences(document, {key, ReferenceRewriter::Scope::Renamed, oldPath, newPath});
    }
    return false;
}

// False, after a message, when what was changed cannot be saved.
bool CDependencyXML::RewriteReferences(XmlDoc& document, const ReferenceRewriter& rewriter) const {
    // Several rules may find an attribute: the first reading that is concerned settles it.
    std::unordered_set<std::size_t> settled;
    bool changed = false;
    WalkReferences(document, [&](const Reference& reference) {
        const auto& [text, strategy, holder, attribute] = reference;
        const std::optional<std::string> newText = rewriter.NewText(text, strategy);
        XmlDoc element = document.ViewOf(holder);
        if (!newText || !settled.insert(element.GetAttributeOffset("", attribute)).second) return;
        if (*newText == text || !element.SetAttribute("", attribute, *newText)) return;
        changed = true;
        const ReferenceSite site([&] { return PlaceOf(document, reference); });
        ReportRewrite(rewriter.File(), site, text, *newText);
    });
    if (!changed || document.Save(rewriter.File())) return true;
    LogError("%s", document.GetError().c_str());
    return false;
}

bool CDependencyXML::Rename(const std::string& oldPath, const std::string& newPath, bool flag) {
    MoveBindingFiles(oldPath, newPath, flag);
    if (vxio::GetDirName(oldPath) != vxio::GetDirName(newPath)) {
        UpdateSelfReferences(oldPath, newPath);
    }
    return true;
}

bool CDependencyXML::MoveBindingFiles(const std::string& oldPath, const std::string& newPath,
                                      bool) {
    MoveBindings(*this, oldPath, newPath);
    return true;
}

bool CDependencyXML::MoveCompanionFiles(const std::string& oldPath, const std::string& newPath) {
    IFileService& files = InterfaceBox::Instance().GetFileService();
    const Rules* const rules = FindRules("");
    if (!rules) return true;
    for (const Rule& rule : *rules) {
        const std::string from = vxio::GetStem(oldPath) + rule.attribute;
        const std::string to = vxio::GetStem(newPath) + rule.attribute;
        if (!files.FileExists(from) || files.Copy(from, to) == 0) continue;
        LogWarning("[Dependency]Move File from %s to %s failed!", from.c_str(), to.c_str());
    }
    return true;
}

bool CDependencyXML::UpdateSelfReferences(const std::string& oldPath, const std::string& newPath) {
    std::string key;
    XmlDoc document;
    if (!KeyToRead(newPath, key) || !Open(key, document)) return false;
    const ReferenceRewriter rewriter(key, ReferenceRewriter::Scope::Existing, oldPath, newPath);
    // What is renamed with it has been followed in the same pass.
    if (RewriteReferences(document, rewriter)) {
        CDependencyManager::GetSingletonPtr()->MarkRewritten(key);
    }
    return true;
}

}  // namespace vexa
