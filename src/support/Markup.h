// An XML document held as one text plus element records of offsets into it:
// parsing builds the records, navigation moves three cursors over them, and
// editing changes the text in place and shifts the offsets behind the change.
#ifndef MARKUP_H
#define MARKUP_H

#include <cstdint>

#include "CKvString.h"
#include "NewKValArray.h"

// One element; index 0 of the array is the virtual root.
struct ElemPos {
    int32_t miStartOpen;   // '<' of the start tag
    int32_t miStartClose;  // '>' of the start tag
    int32_t miEndOpen;     // '<' of the end tag; miStartClose - 1 when empty
    int32_t miEndClose;    // '>' of the end tag
    int32_t miElemSpare;
    int32_t miParent;
    int32_t miFirstChild;
    int32_t miNextSibling;

    bool IsEmptyElement() const { return miStartClose == miEndOpen + 1; }
    void AdjustStart(int n)
    {
        miStartOpen += n;
        miStartClose += n;
    }
    void AdjustEnd(int n)
    {
        miEndOpen += n;
        miEndClose += n;
    }
    void Clear() { *this = ElemPos(); }
};

// A token of the text: [miStart, miEnd] inclusive, scanning goes on at miNext.
struct TokenPos {
    int32_t miStart;
    int32_t miEnd;
    int32_t miNext;
    const char* mpDoc;
    int32_t miDocLength;
    bool mbQuoted;

    explicit TokenPos(const CKvString& doc)
        : miStart(0), miEnd(-1), miNext(0), mpDoc(doc.GetString()), miDocLength(doc.GetLength()), mbQuoted(false)
    {
    }
    void Clear()
    {
        miStart = 0;
        miEnd = -1;
        miNext = 0;
        mbQuoted = false;
    }
    bool Match(const char* name) const;
};

class CMarkup {
public:
    CMarkup();
    CMarkup(const CMarkup& other) = default;
    CMarkup& operator=(const CMarkup& other) = default;
    virtual ~CMarkup() = default;

    bool SetDoc(const char* text);
    const CKvString& GetDoc() const { return msDoc; }
    const CKvString& GetError() const { return msError; }
    bool IsWellFormed() const;

    bool FindElem(const char* name = nullptr);
    bool FindChildElem(const char* name = nullptr);
    CKvString GetTagName() const;
    CKvString GetChildTagName() const;
    bool IntoElem();
    bool OutOfElem();
    void ResetPos();

    CKvString GetData() const { return x_GetData(miPos); }
    CKvString GetChildData() const { return x_GetData(miPosChild); }
    CKvString GetAttrib(const char* name) const { return x_GetAttrib(miPos, name); }
    CKvString GetChildAttrib(const char* name) const { return x_GetAttrib(miPosChild, name); }
    bool SetAttrib(const char* name, const char* value) { return x_SetAttrib(miPos, name, value); }
    bool SetChildAttrib(const char* name, const char* value) { return x_SetAttrib(miPosChild, name, value); }

    bool AddElem(const char* name, const char* value = nullptr) { return x_AddElem(name, value, false, false); }
    bool AddChildElem(const char* name, const char* value = nullptr) { return x_AddElem(name, value, false, true); }

    static CKvString StripComments(CKvString text);

protected:
    enum {
        kNodeFailure = 0,
        kNodeElement = 1,
        kNodeText = 2,
        kNodeWhitespace = 4,
        kNodeCData = 8,
        kNodeProcessing = 16,
        kNodeComment = 32,
        kNodeDocType = 64,
    };

    int x_ParseElem(int iPosParent);
    int x_ParseNode(TokenPos& token) const;
    int x_ParseError(const char* error, const char* name);
    static bool x_FindChar(const char* doc, int length, int& pos, char c);
    static bool x_FindAny(const char* doc, int length, int& pos);
    static bool x_FindToken(TokenPos& token);
    static CKvString x_GetToken(const TokenPos& token);
    int x_FindElem(int iPosParent, int iPos, const char* name) const;
    CKvString x_GetTagName(int iPos) const;
    static bool x_FindAttrib(TokenPos& token, const char* name, int limit);
    CKvString x_GetAttrib(int iPos, const char* name) const;
    bool x_SetAttrib(int iPos, const char* name, const char* value);
    CKvString x_GetData(int iPos) const;
    static CKvString x_TextToDoc(const char* text, bool attribute);
    CKvString x_TextFromDoc(int start, int end) const;
    void x_DocChange(int start, int length, const CKvString& text);
    void x_Adjust(int iPos, int delta, bool afterPos = true);
    int x_LocateNew(int iPosParent, int iPosRel, bool insert);
    bool x_AddElem(const char* name, const char* value, bool insert, bool addChild);
    int x_GetFreePos();
    void x_ReleasePos() { --miPosFree; }
    void x_SetPos(int iPosParent, int iPos, int iPosChild);

    CKvString msDoc;
    CKvString msError;
    NewKValArray<ElemPos> maPos;
    int miPosParent;
    int miPos;
    int miPosChild;
    int miPosFree;
    int miNodeType;

private:
    int x_ParseOpen(int iPos, TokenPos& token);
    int x_ParseClose(int iPos);
    void x_AdjustSubtree(int iPos, int delta);
    bool x_OpenEmptyElement(int iPos);
};

#endif
