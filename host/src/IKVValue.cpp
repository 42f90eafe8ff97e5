#include "IKVValue.h"

#include <cstring>

namespace {

// The caller's texts die right after construction, so the value keeps copies.
char* CopyText(const char* text) {
    if (text == nullptr) text = "";
    const std::size_t length = std::strlen(text);
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length + 1);
    return copy;
}

}  // namespace

IKVValue::IKVValue(KORVA_ValueId id, KORVA_Type type, KORVA_ValueType valueType, const char* name,
                   const char* description)
    : mId(id),
      mType(type),
      mValueType(valueType),
      mpName(CopyText(name)),
      mpDescription(nullptr),
      mpNext(nullptr),
      mpParameterList(nullptr),
      mpListValue(nullptr) {
    // Separate statement so that the name is not leaked if this copy throws.
    try {
        mpDescription = CopyText(description);
    } catch (...) {
        delete[] mpName;
        throw;
    }
}

// Linked values belong to whoever built the chain; only the texts go here.
IKVValue::~IKVValue() {
    delete[] mpName;
    delete[] mpDescription;
}

KORVA_ValueId IKVValue::getId() const { return mId; }
KORVA_Type IKVValue::getType() const { return mType; }
KORVA_ValueType IKVValue::getValueType() const { return mValueType; }
const char* IKVValue::getName() const { return mpName; }
const char* IKVValue::getDescription() const { return mpDescription; }

// The getters leave *out untouched when there is nothing to deliver: callers
// preset it to null and test it afterwards.
int IKVValue::getNext(IKVValue** value) {
    if (value == nullptr) return RESULT_BAD_PARAM;
    if (mpNext == nullptr) return RESULT_NOT_SUPPORTED;
    *value = mpNext;
    return RESULT_OK;
}

int IKVValue::setNext(IKVValue* value) {
    mpNext = value;
    return RESULT_OK;
}

int IKVValue::getParameterList(IKVValue** value) {
    if (value == nullptr) return RESULT_BAD_PARAM;
    if (mpParameterList == nullptr) return RESULT_NOT_SUPPORTED;
    *value = mpParameterList;
    return RESULT_OK;
}

int IKVValue::setParameterList(IKVValue* value) {
    mpParameterList = value;
    return RESULT_OK;
}

int IKVValue::getListValue(IKVValue** value) {
    if (value == nullptr) return RESULT_BAD_PARAM;
    if (mpListValue == nullptr) return RESULT_NOT_SUPPORTED;
    *value = mpListValue;
    return RESULT_OK;
}

int IKVValue::setListValue(IKVValue* value) {
    mpListValue = value;
    return RESULT_OK;
}

// Adds one for this value and for every value reachable over the next,
// parameter-list and list-value links. The next chain is walked in a loop;
// only the two list links recurse. The links are assumed to form no cycle.
int IKVValue::countElements(int& count) {
    for (IKVValue* value = this; value != nullptr; value = value->mpNext) {
        ++count;
        if (value->mpParameterList != nullptr) value->mpParameterList->countElements(count);
        if (value->mpListValue != nullptr) value->mpListValue->countElements(count);
    }
    return RESULT_OK;
}
