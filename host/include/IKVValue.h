// A value or parameter of a feature. Values link to a next value, a
// parameter list and a value list; they own none of them.
#ifndef IKV_VALUE_H
#define IKV_VALUE_H

#include "KorvaTypes.h"

class IKVValue {
public:
    IKVValue(KORVA_ValueId id, KORVA_Type type, KORVA_ValueType valueType, const char* name,
             const char* description);
    virtual ~IKVValue();

    KORVA_ValueId getId() const;
    KORVA_Type getType() const;
    KORVA_ValueType getValueType() const;
    const char* getName() const;
    const char* getDescription() const;

    int getNext(IKVValue** value);
    int setNext(IKVValue* value);
    int getParameterList(IKVValue** value);
    int setParameterList(IKVValue* value);
    int getListValue(IKVValue** value);
    int setListValue(IKVValue* value);

    // Number of values reachable from this one, itself included.
    int countElements(int& count);

private:
    // Owns its texts: a copy would release them twice.
    IKVValue(const IKVValue&) = delete;
    IKVValue& operator=(const IKVValue&) = delete;

    KORVA_ValueId mId;
    KORVA_Type mType;
    KORVA_ValueType mValueType;
    char* mpName;
    char* mpDescription;
    IKVValue* mpNext;
    IKVValue* mpParameterList;
    IKVValue* mpListValue;
};

#endif
