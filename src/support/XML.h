// An XML document tied to a file: read, written with a stylesheet prologue,
// and typed child values.
#ifndef XML_H
#define XML_H

#include "CKvString.h"
#include "Markup.h"

// Makes the directories of a path; creates nothing and answers 0.
int CreateAllDirectories(const char* path);

class CXML : public CMarkup {
public:
    CXML();
    explicit CXML(const CKvString& fileName);

    bool Open(const CKvString& fileName);
    bool Write();
    bool WriteAs(const CKvString& fileName);
    bool ResetDoc() { return SetDoc(nullptr); }

    bool AddChildElem(const char* name, const char* value) { return CMarkup::AddChildElem(name, value); }
    // Both store "true" whatever the number: the formatted text exists.
    bool AddChildElem(const char* name, int value);
    bool AddChildElem(const char* name, double value);
    bool AddChildElem(const char* name, bool value);

    CKvString GetChildData() const { return CMarkup::GetChildData(); }
    bool GetChildData(int& value) const;
    bool GetChildData(CKvString& value) const;
    bool GetChildData(bool& value) const;
    bool GetChildData(double& value) const;
    bool GetChildData(float& value) const;
    // Hexadecimal with "0x" or "0X"; only that form reports a failed read.
    bool GetChildData(long& value) const;
    int GetChildIntData() const;

    void SetTransformer(const CKvString& name) { msTransformer = name; }
    CKvString GetTransformer() const { return msTransformer; }
    const CKvString& GetFileName() const { return msFileName; }

protected:
    CKvString msFileName;
    CKvString msTransformer;
};

#endif
