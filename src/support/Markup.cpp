#include "Markup.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Entities, index by index: the character, its full reference, the part
// behind the '&' and that part's length.
const char szSymbol[] = "<&>'\"";
const char* const szaReplace[] = {"&lt;", "&amp;", "&gt;", "&apos;", "&quot;"};
const char* const szaCode[] = {"lt;", "amp;", "gt;", "apos;", "quot;"};
const int anCodeLen[] = {3, 4, 3, 5, 5};

const char kWhitespace[] = " \t\n\r";
const char kTokenStops[] = " \t\n\r<>=\\/?!";

bool IsWhitespace(char c)
{
    return c != '\0' && std::strchr(kWhitespace, c) != nullptr;
}

// Offset of `text` at or after `from`, or -1.
int FindText(const char* doc, int length, int from, const char* text)
{
    if (from < 0)
        from = 0;
    if (from >= length)
        return -1;
    const char* hit = std::strstr(doc + from, text);
    return hit != nullptr ? static_cast<int>(hit - doc) : -1;
}

}  // namespace

bool TokenPos::Match(const char* name) const
{
    if (name == nullptr || miEnd < miStart)
        return false;
    const size_t length = static_cast<size_t>(miEnd - miStart + 1);
    return std::strlen(name) == length && std::strncmp(mpDoc + miStart, name, length) == 0;
}

CMarkup::CMarkup() : miPosParent(0), miPos(0), miPosChild(0), miPosFree(1), miNodeType(0)
{
    SetDoc(nullptr);
}

bool CMarkup::SetDoc(const char* text)
{
    miPosFree = 1;
    ResetPos();
    msError.Empty();
    msDoc = text != nullptr ? text : "";
    const int wanted = msDoc.GetLength() / 64 + 8;
    // Room for the most elements the text can hold, one per three bytes,
    // is only reserved: growing by copies would touch fresh pages each time.
    if (maPos.GetSize() < wanted)
        maPos.SetSize(wanted, msDoc.GetLength() / 3);
    maPos[0].Clear();
    if (!msDoc.IsEmpty()) {
        const int iPos = x_ParseElem(0);
        if (iPos > 0) {
            maPos[0].miFirstChild = iPos;
            return true;
        }
    }
    maPos[0].Clear();
    miPosFree = 1;
    return false;
}

bool CMarkup::IsWellFormed() const
{
    return maPos.GetSize() > 0 && maPos[0].miFirstChild != 0;
}

int CMarkup::x_GetFreePos()
{
    if (miPosFree >= maPos.GetSize()) {
        const int size = maPos.GetSize();
        maPos.SetSize(size + (size / 2 > 8 ? size / 2 : 8));
    }
    return miPosFree++;
}

void CMarkup::x_SetPos(int iPosParent, int iPos, int iPosChild)
{
    miPosParent = iPosParent;
    miPos = iPos;
    miPosChild = iPosChild;
    miNodeType = iPos != 0 ? kNodeElement : 0;
}

void CMarkup::ResetPos()
{
    x_SetPos(0, 0, 0);
}

// --- scanning ----------------------------------------------------------------

bool CMarkup::x_FindChar(const char* doc, int length, int& pos, char c)
{
    if (pos < 0)
        pos = 0;
    if (pos >= length) {
        pos = length;
        return false;
    }
    const void* hit = std::memchr(doc + pos, c, static_cast<size_t>(length - pos));
    pos = hit != nullptr ? static_cast<int>(static_cast<const char*>(hit) - doc) : length;
    return hit != nullptr;
}

bool CMarkup::x_FindAny(const char* doc, int length, int& pos)
{
    if (pos < 0)
        pos = 0;
    while (pos < length && IsWhitespace(doc[pos]))
        ++pos;
    return pos < length;
}

bool CMarkup::x_FindToken(TokenPos& token)
{
    const char* doc = token.mpDoc;
    const int length = token.miDocLength;
    int pos = token.miNext;
    token.mbQuoted = false;
    if (!x_FindAny(doc, length, pos)) {
        token.miStart = token.miEnd = token.miNext = length;
        return false;
    }
    const char c = doc[pos];
    if (c == '"' || c == '\'') {
        token.mbQuoted = true;
        token.miStart = pos + 1;
        int close = pos + 1;
        x_FindChar(doc, length, close, c);
        token.miEnd = close - 1;
        token.miNext = close < length ? close + 1 : length;
        return true;
    }
    token.miStart = pos;
    while (pos < length && std::strchr(kTokenStops, doc[pos]) == nullptr)
        ++pos;
    if (pos == token.miStart)
        ++pos;  // a stop character alone is the token
    token.miEnd = pos - 1;
    token.miNext = pos;
    return true;
}

CKvString CMarkup::x_GetToken(const TokenPos& token)
{
    if (token.miStart > token.miEnd)
        return CKvString();
    const int end = token.miEnd < token.miDocLength ? token.miEnd : token.miDocLength - 1;
    std::string text(token.mpDoc + token.miStart, static_cast<size_t>(end - token.miStart + 1));
    return CKvString(text.c_str());
}

// --- parsing -----------------------------------------------------------------

int CMarkup::x_ParseNode(TokenPos& token) const
{
    const char* doc = token.mpDoc;
    const int length = token.miDocLength;
    const int pos = token.miNext;
    if (pos >= length)
        return kNodeFailure;
    if (doc[pos] != '<') {
        int at = pos;
        const int type = x_FindAny(doc, length, at) && doc[at] != '<' ? kNodeText : kNodeWhitespace;
        x_FindChar(doc, length, at, '<');
        token.miNext = at;
        return type;
    }
    if (pos + 1 >= length || doc[pos + 1] == '/')
        return kNodeFailure;
    int type = kNodeElement;
    const char* endText = nullptr;
    int from = pos + 2;
    if (doc[pos + 1] == '?') {
        type = kNodeProcessing;
        endText = "?>";
    } else if (doc[pos + 1] == '!') {
        if (pos + 2 < length && doc[pos + 2] == '[') {
            type = kNodeCData;
            endText = "]]>";
            from = pos + 3;
        } else if (pos + 2 < length && doc[pos + 2] == '-') {
            type = kNodeComment;
            endText = "-->";
            from = pos + 4;
        } else {
            // Brackets of an internal subset may hold '>'.
            int depth = 0;
            for (int at = pos + 2; at < length; ++at) {
                if (doc[at] == '[')
                    ++depth;
                else if (doc[at] == ']')
                    --depth;
                else if (doc[at] == '>' && depth <= 0) {
                    token.miNext = at + 1;
                    return kNodeDocType;
                }
            }
            return kNodeFailure;
        }
    } else {
        return kNodeElement;
    }
    const int end = FindText(doc, length, from, endText);
    if (end < 0)
        return kNodeFailure;
    token.miNext = end + static_cast<int>(std::strlen(endText));
    return type;
}

int CMarkup::x_ParseError(const char* error, const char* name)
{
    msError.Format(error, name != nullptr ? name : "");
    std::printf("Parser error: %s\n", msError.GetString());
    x_ReleasePos();
    return -1;
}

namespace {
// x_ParseOpen's answer for a start tag whose content and end tag follow.
const int kOpenElement = -2;
}  // namespace

// The start of an element, up to its start tag; declarations, comments and
// the like before it are stepped over. Answers the record for an empty
// element, 0 for the parent's end tag, -1 on error, or kOpenElement.
int CMarkup::x_ParseOpen(int iPos, TokenPos& token)
{
    const char* doc = token.mpDoc;
    const int length = token.miDocLength;
    const int iPosParent = maPos[iPos].miParent;
    token.miNext = maPos[iPosParent].miEndOpen;
    for (;;) {
        int at = token.miNext;
        if (!x_FindChar(doc, length, at, '<'))
            return x_ParseError("Element tag not found", nullptr);
        maPos[iPos].miStartOpen = at;
        maPos[iPosParent].miEndOpen = at;
        token.miNext = at + 1;
        if (!x_FindToken(token))
            return x_ParseError("Abrupt end within tag", nullptr);
        if (token.mbQuoted)
            return x_ParseError("Tag starts with quote", nullptr);
        const char first = doc[token.miStart];
        if (first == '?' || first == '!') {
            token.miNext = at;
            // Anything but a real node, such as '<' and white space before
            // the '!', would bring the search back to this '<'.
            const int node = x_ParseNode(token);
            if (node == kNodeFailure || node == kNodeElement || token.miNext <= at)
                return x_ParseError("Invalid node", nullptr);
            continue;
        }
        if (first == '/') {
            x_ReleasePos();
            return 0;
        }
        break;
    }
    int close = token.miNext;
    if (!x_FindChar(doc, length, close, '>'))
        return x_ParseError("End of tag not found", nullptr);
    ElemPos& elem = maPos[iPos];
    elem.miStartClose = close;
    if (doc[close - 1] == '/') {
        elem.miEndOpen = close - 1;
        elem.miEndClose = close;
        return iPos;
    }
    elem.miEndOpen = close + 1;
    return kOpenElement;
}

// The end tag of an element whose children have been parsed.
int CMarkup::x_ParseClose(int iPos)
{
    const char* doc = msDoc.GetString();
    const int length = msDoc.GetLength();
    const CKvString name = x_GetTagName(iPos);
    int at = maPos[iPos].miEndOpen;
    if (!x_FindChar(doc, length, at, '<'))
        return x_ParseError("End tag of %s element not found", name);
    TokenPos token(msDoc);
    token.miNext = at + 1;
    int count = 0;
    while (x_FindToken(token)) {
        if (token.mbQuoted)
            continue;
        ++count;
        if (count == 1) {
            if (!token.Match("/"))
                return x_ParseError("Expecting end tag of element %s", name);
        } else if (count == 2) {
            if (!token.Match(name))
                return x_ParseError("End tag does not correspond to %s", name);
        } else if (token.Match(">")) {
            maPos[iPos].miEndClose = token.miStart;
            return iPos;
        }
    }
    return x_ParseError("End tag not completed for element %s", name);
}

// Each element takes a record under its parent and parses its children
// before its end tag. The nesting is kept on an explicit stack rather than
// the call stack, so that any depth the text holds can be parsed.
int CMarkup::x_ParseElem(int iPosParent)
{
    struct Frame {
        int iPos;
        int iLastChild;
    };
    std::vector<Frame> stack;
    TokenPos token(msDoc);

    auto begin = [&](int parent, int& iPos) {
        iPos = x_GetFreePos();
        ElemPos& elem = maPos[iPos];
        elem.Clear();
        elem.miParent = parent;
        return x_ParseOpen(iPos, token);
    };

    int iPos = 0;
    int result = begin(iPosParent, iPos);
    if (result != kOpenElement)
        return result;
    stack.push_back({iPos, 0});
    for (;;) {
        result = begin(stack.back().iPos, iPos);
        if (result == kOpenElement) {
            stack.push_back({iPos, 0});
            continue;
        }
        // Hand the finished child, or the end of the children, upwards.
        for (;;) {
            if (result < 0)
                return -1;
            Frame& frame = stack.back();
            if (result > 0) {
                if (frame.iLastChild == 0)
                    maPos[frame.iPos].miFirstChild = result;
                else
                    maPos[frame.iLastChild].miNextSibling = result;
                frame.iLastChild = result;
                maPos[frame.iPos].miEndOpen = maPos[result].miEndClose + 1;
                break;
            }
            result = x_ParseClose(frame.iPos);
            stack.pop_back();
            if (stack.empty())
                return result;
        }
    }
}

// --- navigation --------------------------------------------------------------

int CMarkup::x_FindElem(int iPosParent, int iPos, const char* name) const
{
    iPos = iPos != 0 ? maPos[iPos].miNextSibling : maPos[iPosParent].miFirstChild;
    if (name == nullptr || *name == '\0')
        return iPos;
    while (iPos != 0) {
        TokenPos token(msDoc);
        token.miNext = maPos[iPos].miStartOpen + 1;
        if (x_FindToken(token) && !token.mbQuoted && token.Match(name))
            return iPos;
        iPos = maPos[iPos].miNextSibling;
    }
    return 0;
}

CKvString CMarkup::x_GetTagName(int iPos) const
{
    if (iPos == 0)
        return CKvString();
    TokenPos token(msDoc);
    token.miNext = maPos[iPos].miStartOpen + 1;
    if (!x_FindToken(token) || token.mbQuoted)
        return CKvString();
    return x_GetToken(token);
}

bool CMarkup::FindElem(const char* name)
{
    const int iPos = x_FindElem(miPosParent, miPos, name);
    if (iPos == 0)
        return false;
    x_SetPos(maPos[iPos].miParent, iPos, 0);
    return true;
}

bool CMarkup::FindChildElem(const char* name)
{
    if (miPos == 0)
        FindElem(nullptr);
    if (miPos == 0)
        return false;
    const int iPosChild = x_FindElem(miPos, miPosChild, name);
    if (iPosChild == 0)
        return false;
    x_SetPos(miPosParent, miPos, iPosChild);
    return true;
}

CKvString CMarkup::GetTagName() const
{
    return x_GetTagName(miPos);
}

CKvString CMarkup::GetChildTagName() const
{
    return x_GetTagName(miPosChild);
}

bool CMarkup::IntoElem()
{
    if (miPos == 0 || miNodeType != kNodeElement)
        return false;
    x_SetPos(miPos, miPosChild, 0);
    return true;
}

bool CMarkup::OutOfElem()
{
    if (miPosParent == 0)
        return false;
    x_SetPos(maPos[miPosParent].miParent, miPosParent, miPos);
    return true;
}

// --- attributes --------------------------------------------------------------

// Walks the tokens behind the tag name; on a match the token is the value.
// Nothing at or behind `limit`, the start tag's '>', belongs to the tag: an
// unclosed quote there must not reach into the content.
bool CMarkup::x_FindAttrib(TokenPos& token, const char* name, int limit)
{
    while (x_FindToken(token) && token.miEnd < limit) {
        const char c = token.mpDoc[token.miStart];
        if (!token.mbQuoted && (c == '>' || c == '/' || c == '?'))
            return false;
        if (token.mbQuoted || !token.Match(name))
            continue;
        const int after = token.miNext;
        if (!x_FindToken(token) || token.mbQuoted || !token.Match("=")) {
            token.miNext = after;
            continue;
        }
        if (!x_FindToken(token) || token.miEnd >= limit)
            return false;
        if (!token.mbQuoted) {
            const char v = token.mpDoc[token.miStart];
            if (v == '>' || v == '/' || v == '?')
                return false;
        }
        return true;
    }
    return false;
}

CKvString CMarkup::x_GetAttrib(int iPos, const char* name) const
{
    if (iPos == 0 || name == nullptr)
        return CKvString();
    TokenPos token(msDoc);
    token.miNext = maPos[iPos].miStartOpen + 1;
    if (!x_FindToken(token) || !x_FindAttrib(token, name, maPos[iPos].miStartClose))
        return CKvString();
    return x_TextFromDoc(token.miStart, token.miEnd);
}

bool CMarkup::x_SetAttrib(int iPos, const char* name, const char* value)
{
    if (iPos == 0 || name == nullptr || *name == '\0')
        return false;
    const CKvString encoded = x_TextToDoc(value != nullptr ? value : "", true);
    TokenPos token(msDoc);
    token.miNext = maPos[iPos].miStartOpen + 1;
    if (!x_FindToken(token))
        return false;
    int start;
    int replaced;
    CKvString text;
    if (x_FindAttrib(token, name, maPos[iPos].miStartClose)) {
        start = token.miStart;
        replaced = token.miEnd - token.miStart + 1;
        if (token.mbQuoted) {
            text = encoded;
        } else {
            text = "\"";
            text += encoded;
            text += "\"";
        }
    } else {
        ElemPos& elem = maPos[iPos];
        start = elem.IsEmptyElement() ? elem.miStartClose - 1 : elem.miStartClose;
        replaced = 0;
        text.Format(" %s=\"%s\"", name, encoded.GetString());
    }
    x_DocChange(start, replaced, text);
    const int delta = text.GetLength() - replaced;
    maPos[iPos].miStartClose += delta;
    maPos[iPos].AdjustEnd(delta);
    x_Adjust(iPos, delta);
    return true;
}

// --- data --------------------------------------------------------------------

CKvString CMarkup::x_GetData(int iPos) const
{
    if (iPos == 0)
        return CKvString();
    const ElemPos& elem = maPos[iPos];
    if (elem.miFirstChild != 0 || elem.IsEmptyElement())
        return CKvString();
    const char* doc = msDoc.GetString();
    const int length = msDoc.GetLength();
    const int endOpen = elem.miEndOpen < length ? elem.miEndOpen : length;
    int at = elem.miStartClose + 1;
    x_FindAny(doc, length, at);
    if (at + 11 <= endOpen && std::strncmp(doc + at, "<![CDATA[", 9) == 0) {
        const int close = FindText(doc, length, at + 9, "]]>");
        if (close >= 0 && close < endOpen)
            return CKvString(std::string(doc + at + 9, static_cast<size_t>(close - at - 9)).c_str());
    }
    return x_TextFromDoc(elem.miStartClose + 1, endOpen - 1);
}

CKvString CMarkup::x_TextToDoc(const char* text, bool attribute)
{
    const char* special = attribute ? "<&>'\"" : "<&>";
    std::string out;
    out.reserve(std::strlen(text) * 3 / 2);
    for (const char* p = text; *p != '\0'; ++p) {
        const char* hit = std::strchr(special, *p);
        if (hit != nullptr)
            out += szaReplace[std::strchr(szSymbol, *p) - szSymbol];
        else
            out += *p;
    }
    return CKvString(out.c_str());
}

CKvString CMarkup::x_TextFromDoc(int start, int end) const
{
    const char* doc = msDoc.GetString();
    if (start < 0)
        start = 0;
    if (end >= msDoc.GetLength())
        end = msDoc.GetLength() - 1;
    std::string out;
    for (int at = start; at <= end; ++at) {
        if (doc[at] == '&') {
            int found = -1;
            for (int i = 0; i < 5 && found < 0; ++i)
                if (at + anCodeLen[i] <= end && std::strncmp(doc + at + 1, szaCode[i], static_cast<size_t>(anCodeLen[i])) == 0)
                    found = i;
            if (found >= 0) {
                out += szSymbol[found];
                at += anCodeLen[found];
                continue;
            }
        }
        out += doc[at];
    }
    return CKvString(out.c_str());
}

// --- editing -----------------------------------------------------------------

void CMarkup::x_DocChange(int start, int length, const CKvString& text)
{
    const int docLength = msDoc.GetLength();
    const int insert = text.GetLength();
    const int newLength = docLength - length + insert;
    if (newLength > docLength)
        msDoc.GetBuffer(static_cast<unsigned long>(newLength));
    char* doc = msDoc.GetBuffer(0);
    std::memmove(doc + start + insert, doc + start + length, static_cast<size_t>(docLength - start - length));
    std::memcpy(doc + start, text.GetString(), static_cast<size_t>(insert));
    msDoc.ReleaseBuffer(newLength);
}

void CMarkup::x_AdjustSubtree(int iPos, int delta)
{
    int at = maPos[iPos].miFirstChild;
    while (at != 0) {
        maPos[at].AdjustStart(delta);
        maPos[at].AdjustEnd(delta);
        if (maPos[at].miFirstChild != 0) {
            at = maPos[at].miFirstChild;
            continue;
        }
        while (at != iPos && maPos[at].miNextSibling == 0)
            at = maPos[at].miParent;
        if (at == iPos)
            break;
        at = maPos[at].miNextSibling;
    }
}

// Everything behind pos in document order moves by delta; its ancestors
// enclose the change, so only their ends move.
void CMarkup::x_Adjust(int iPos, int delta, bool afterPos)
{
    if (afterPos)
        x_AdjustSubtree(iPos, delta);
    for (int at = iPos; at != 0; at = maPos[at].miParent) {
        for (int sibling = maPos[at].miNextSibling; sibling != 0; sibling = maPos[sibling].miNextSibling) {
            maPos[sibling].AdjustStart(delta);
            maPos[sibling].AdjustEnd(delta);
            x_AdjustSubtree(sibling, delta);
        }
        if (maPos[at].miParent != 0)
            maPos[maPos[at].miParent].AdjustEnd(delta);
    }
}

// Offset for a new element under iPosParent, before or behind iPosRel, or
// behind the last child when there is none; behind a sibling, white space
// up to the next tag is passed over.
int CMarkup::x_LocateNew(int iPosParent, int iPosRel, bool insert)
{
    const char* doc = msDoc.GetString();
    const int length = msDoc.GetLength();
    if (iPosRel == 0 && !insert) {
        for (int at = maPos[iPosParent].miFirstChild; at != 0; at = maPos[at].miNextSibling)
            iPosRel = at;
    }
    if (iPosRel != 0) {
        if (insert)
            return maPos[iPosRel].miStartOpen;
        const int behind = maPos[iPosRel].miEndClose + 1;
        int at = behind;
        TokenPos token(msDoc);
        token.miNext = at;
        if (x_FindAny(doc, length, at) && doc[at] == '<') {
            token.miNext = at;
            const int node = x_ParseNode(token);
            if (node == kNodeElement || node == kNodeFailure)
                return at;
        }
        return behind;
    }
    if (iPosParent == 0)
        return insert && maPos[0].miFirstChild != 0 ? maPos[maPos[0].miFirstChild].miStartOpen : length;
    return insert ? maPos[iPosParent].miStartClose + 1 : maPos[iPosParent].miEndOpen;
}

// "<a/>" becomes "<a></a>" so that it can take children. Every '/' before
// the '>' goes: one left behind would still mark the element empty.
bool CMarkup::x_OpenEmptyElement(int iPos)
{
    ElemPos& elem = maPos[iPos];
    if (!elem.IsEmptyElement() || msDoc.GetAt(static_cast<unsigned long>(elem.miStartClose)) != '>')
        return false;
    int start = elem.miStartClose;
    while (start > elem.miStartOpen + 1 && msDoc.GetAt(static_cast<unsigned long>(start - 1)) == '/')
        --start;
    if (start == elem.miStartClose)
        return false;
    const int replaced = elem.miStartClose - start + 1;
    const CKvString name = x_GetTagName(iPos);
    CKvString text;
    text.Format("></%s>", name.GetString());
    x_DocChange(start, replaced, text);
    elem.miStartClose = start;
    elem.miEndOpen = start + 1;
    elem.miEndClose = start + text.GetLength() - 1;
    x_Adjust(iPos, text.GetLength() - replaced, false);
    return true;
}

bool CMarkup::x_AddElem(const char* name, const char* value, bool insert, bool addChild)
{
    if (name == nullptr || *name == '\0')
        return false;
    int iPosParent;
    int iPosRel;
    if (addChild) {
        if (miPos == 0)
            return false;
        iPosParent = miPos;
        iPosRel = miPosChild;
        if (maPos[iPosParent].IsEmptyElement() && !x_OpenEmptyElement(iPosParent))
            return false;
    } else {
        iPosParent = miPosParent;
        iPosRel = miPos;
        if (iPosParent != 0 && maPos[iPosParent].IsEmptyElement() && !x_OpenEmptyElement(iPosParent))
            return false;
    }
    const int offset = x_LocateNew(iPosParent, iPosRel, insert);
    const int nameLength = static_cast<int>(std::strlen(name));

    CKvString text;
    const int iPos = x_GetFreePos();
    ElemPos& elem = maPos[iPos];
    elem.Clear();
    elem.miParent = iPosParent;
    elem.miStartOpen = offset;
    if (value == nullptr || *value == '\0') {
        text.Format("<%s/>\r\n", name);
        elem.miStartClose = offset + nameLength + 2;
        elem.miEndOpen = elem.miStartClose - 1;
        elem.miEndClose = elem.miStartClose;
    } else {
        const CKvString encoded = x_TextToDoc(value, false);
        text.Format("<%s>%s</%s>\r\n", name, encoded.GetString(), name);
        elem.miStartClose = offset + nameLength + 1;
        elem.miEndOpen = elem.miStartClose + 1 + encoded.GetLength();
        elem.miEndClose = elem.miEndOpen + nameLength + 2;
    }

    // Link: before iPosRel, behind it, or as the last child.
    if (iPosRel == 0 && !insert) {
        for (int at = maPos[iPosParent].miFirstChild; at != 0; at = maPos[at].miNextSibling)
            iPosRel = at;
    }
    if (iPosRel == 0) {
        elem.miNextSibling = maPos[iPosParent].miFirstChild;
        maPos[iPosParent].miFirstChild = iPos;
    } else if (!insert) {
        elem.miNextSibling = maPos[iPosRel].miNextSibling;
        maPos[iPosRel].miNextSibling = iPos;
    } else if (maPos[iPosParent].miFirstChild == iPosRel) {
        elem.miNextSibling = iPosRel;
        maPos[iPosParent].miFirstChild = iPos;
    } else {
        int before = maPos[iPosParent].miFirstChild;
        while (maPos[before].miNextSibling != iPosRel)
            before = maPos[before].miNextSibling;
        elem.miNextSibling = iPosRel;
        maPos[before].miNextSibling = iPos;
    }

    x_DocChange(offset, 0, text);
    x_Adjust(iPos, text.GetLength(), false);
    if (addChild)
        x_SetPos(miPosParent, iPosParent, iPos);
    else
        x_SetPos(iPosParent, iPos, 0);
    return true;
}

// --- comments ----------------------------------------------------------------

CKvString CMarkup::StripComments(CKvString text)
{
    const char* doc = text.GetString();
    const int length = text.GetLength();
    std::string out;
    int kept = 0;
    for (int start = FindText(doc, length, 0, "<!--"); start >= 0; start = FindText(doc, length, kept, "<!--")) {
        const int close = FindText(doc, length, start + 4, "-->");
        if (close < 0)
            break;
        const int next = FindText(doc, length, close + 3, "<");
        out.append(doc + kept, static_cast<size_t>(start - kept));
        kept = next >= 0 ? next : close + 3;
    }
    out.append(doc + kept, static_cast<size_t>(length - kept));
    return CKvString(out.c_str());
}
