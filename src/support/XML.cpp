#include "XML.h"

#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <vector>

int CreateAllDirectories(const char* /*path*/)
{
    return 0;
}

CXML::CXML() : msTransformer("transformer.xsl") {}

CXML::CXML(const CKvString& fileName) : msTransformer("transformer.xsl")
{
    Open(fileName);
}

namespace {

CKvString WithExtension(const CKvString& fileName)
{
    CKvString name(fileName);
    if (name.Find(".xml") < 0)
        name += ".xml";
    return name;
}

}  // namespace

bool CXML::Open(const CKvString& fileName)
{
    msFileName = WithExtension(fileName);
    // Only a regular file: a pipe or device could block or never end.
    struct stat info;
    if (stat(msFileName, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size >= INT_MAX)
        return false;
    FILE* file = std::fopen(msFileName, "r+");
    if (file == nullptr)
        return false;
    const size_t size = static_cast<size_t>(info.st_size);
    std::vector<char> text(size + 1, '\0');
    const size_t read = std::fread(text.data(), 1, size, file);
    std::fclose(file);
    if (read != size)
        return false;
    return SetDoc(text.data());
}

bool CXML::Write()
{
    return WriteAs(msFileName);
}

bool CXML::WriteAs(const CKvString& fileName)
{
    msFileName = WithExtension(fileName);
    const int slash = msFileName.ReverseFind('\\');
    if (slash >= 0)
        CreateAllDirectories(msFileName.Mid(0, static_cast<unsigned long>(slash)));

    CKvString text;
    if (msDoc.Find("<?xml version") < 0) {
        text = "<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" href=\"";
        text += msTransformer;
        text += "\"?>\n\n";
    }
    text += msDoc;

    FILE* file = std::fopen(msFileName, "w+");
    if (file == nullptr)
        return false;
    std::fseek(file, 0, SEEK_SET);
    // The text goes out without its last byte.
    const size_t count = text.GetLength() > 0 ? static_cast<size_t>(text.GetLength() - 1) : 0;
    const bool written = std::fwrite(text.GetString(), 1, count, file) == count;
    return std::fclose(file) == 0 && written;
}

bool CXML::AddChildElem(const char* name, bool value)
{
    return CMarkup::AddChildElem(name, value ? "true" : "false");
}

bool CXML::AddChildElem(const char* name, int value)
{
    CKvString text;
    text.Format("%d", value);
    return AddChildElem(name, text.GetString() != nullptr);
}

bool CXML::AddChildElem(const char* name, double value)
{
    CKvString text;
    text.Format("%f", value);
    return AddChildElem(name, text.GetString() != nullptr);
}

bool CXML::GetChildData(int& value) const
{
    value = GetChildData().ToInt();
    return true;
}

bool CXML::GetChildData(CKvString& value) const
{
    value = GetChildData();
    return true;
}

bool CXML::GetChildData(bool& value) const
{
    value = GetChildData() == "true";
    return true;
}

bool CXML::GetChildData(double& value) const
{
    double read = 0.0;
    std::sscanf(GetChildData(), "%lf", &read);
    value = read;
    return true;
}

bool CXML::GetChildData(float& value) const
{
    float read = 0.0f;
    std::sscanf(GetChildData(), "%f", &read);
    value = read;
    return true;
}

bool CXML::GetChildData(long& value) const
{
    CKvString text = GetChildData();
    long long read = 0;
    if (text.Find("0x") >= 0 || text.Find("0X") >= 0) {
        text.MakeUpper();
        unsigned long long hex = 0;
        if (std::sscanf(text, "%llX", &hex) != 1)
            return false;
        read = static_cast<long long>(hex);
    } else {
        std::sscanf(text, "%lld", &read);
    }
    value = static_cast<long>(read);
    return true;
}

int CXML::GetChildIntData() const
{
    return GetChildData().ToInt();
}
