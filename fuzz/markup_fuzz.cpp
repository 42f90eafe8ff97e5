// Any text handed to the markup document parses or fails cleanly; a walk,
// attribute and data reads and edits stay inside the text, and an edited
// document reads back the same from its records as from a fresh parse.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Markup.h"

namespace {

// Names, "id" attributes and data of every element, depth first, bounded.
std::string Walk(CMarkup& doc)
{
    std::string out;
    doc.ResetPos();
    int steps = 0;
    int depth = 0;
    for (;;) {
        if (steps++ > 4000)
            break;
        if (doc.FindElem()) {
            out.append("<").append(doc.GetTagName()).append("|").append(doc.GetAttrib("id")).append("|");
            out += doc.GetData();
            doc.FindChildElem();
            out += doc.GetChildData();
            doc.IntoElem();
            ++depth;
            continue;
        }
        if (depth == 0 || !doc.OutOfElem())
            break;
        --depth;
        out += ">";
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    CMarkup doc;
    const bool parsed = doc.SetDoc(text.c_str());
    if (parsed != doc.IsWellFormed())
        std::abort();
    Walk(doc);

    // Named searches find what the walk found first.
    doc.ResetPos();
    if (!doc.FindElem())
        return 0;
    const CKvString root = doc.GetTagName();
    doc.ResetPos();
    if (!doc.FindElem(root))
        std::abort();
    if (doc.FindChildElem()) {
        const CKvString child = doc.GetChildTagName();
        doc.ResetPos();
        if (!doc.FindElem(root) || !doc.FindChildElem(child) || !(doc.GetChildTagName() == child))
            std::abort();
    }

    const char* value = size % 2 ? "<v&w>" : "";
    doc.SetAttrib("id", "x&'\"<y>");
    doc.AddChildElem("n", value);
    if (!parsed)
        return 0;
    if (!(doc.GetChildData() == value))
        std::abort();
    if (doc.IntoElem()) {
        doc.AddElem("m", "w");
        doc.SetAttrib("k", "");
        doc.OutOfElem();
    }

    CMarkup again;
    if (!again.SetDoc(doc.GetDoc()))
        std::abort();
    if (Walk(doc) != Walk(again))
        std::abort();
    CMarkup::StripComments(doc.GetDoc());
    return 0;
}
