// VALUE: the small tagged value of the published interface (json::value).
// Strings live in a counted block of this DLL's heap; the 64-bit data field
// holds the block's address, so copies share it and ValueClear frees it last.
#include <windows.h>

#include <cstring>
#include <cwchar>
#include <new>

#include "standins/htmlayout/include/htmlayout.h"

namespace {

struct StringBlock {
  volatile LONG references;
  UINT length;
  wchar_t chars[1];
};

StringBlock* BlockOf(const VALUE* value) { return reinterpret_cast<StringBlock*>(static_cast<uintptr_t>(value->d)); }

bool HoldsBlock(const VALUE* value) { return value->t == T_STRING && value->d != 0; }

void Release(VALUE* value) {
  if (HoldsBlock(value) && InterlockedDecrement(&BlockOf(value)->references) == 0) {
    ::operator delete(BlockOf(value));
  }
  value->t = T_UNDEFINED;
  value->u = 0;
  value->d = 0;
}

}  // namespace

extern "C" UINT HLAPI ValueInit(VALUE* pval) {
  if (!pval) return HV_BAD_PARAMETER;
  pval->t = T_UNDEFINED;
  pval->u = 0;
  pval->d = 0;
  return HV_OK;
}

extern "C" UINT HLAPI ValueClear(VALUE* pval) {
  if (!pval) return HV_BAD_PARAMETER;
  Release(pval);
  return HV_OK;
}

extern "C" UINT HLAPI ValueCopy(VALUE* pdst, const VALUE* psrc) {
  if (!pdst || !psrc) return HV_BAD_PARAMETER;
  if (pdst == psrc) return HV_OK;
  Release(pdst);
  *pdst = *psrc;
  if (HoldsBlock(pdst)) InterlockedIncrement(&BlockOf(pdst)->references);
  return HV_OK;
}

extern "C" UINT HLAPI ValueCompare(const VALUE* pval1, const VALUE* pval2) {
  if (!pval1 || !pval2) return HV_BAD_PARAMETER;
  if (pval1->t != pval2->t || pval1->u != pval2->u) return HV_OK;
  if (pval1->t == T_STRING) {
    LPCWSTR a = nullptr, b = nullptr;
    UINT na = 0, nb = 0;
    ValueStringData(pval1, &a, &na);
    ValueStringData(pval2, &b, &nb);
    return (na == nb && wmemcmp(a, b, na) == 0) ? static_cast<UINT>(HV_OK_TRUE) : static_cast<UINT>(HV_OK);
  }
  return pval1->d == pval2->d ? static_cast<UINT>(HV_OK_TRUE) : static_cast<UINT>(HV_OK);
}

extern "C" UINT HLAPI ValueType(const VALUE* pval, UINT* pType, UINT* pUnits) {
  if (!pval) return HV_BAD_PARAMETER;
  if (pType) *pType = pval->t;
  if (pUnits) *pUnits = pval->u;
  return HV_OK;
}

extern "C" UINT HLAPI ValueStringData(const VALUE* pval, LPCWSTR* pChars, UINT* pNumChars) {
  if (!pval || !pChars) return HV_BAD_PARAMETER;
  if (pval->t != T_STRING) return HV_INCOMPATIBLE_TYPE;
  static const wchar_t empty[1] = {0};
  *pChars = pval->d ? BlockOf(pval)->chars : empty;
  if (pNumChars) *pNumChars = pval->d ? BlockOf(pval)->length : 0;
  return HV_OK;
}

extern "C" UINT HLAPI ValueStringDataSet(VALUE* pval, LPCWSTR chars, UINT numChars, UINT units) {
  if (!pval || (!chars && numChars)) return HV_BAD_PARAMETER;
  void* memory = ::operator new(sizeof(StringBlock) + sizeof(wchar_t) * numChars, std::nothrow);
  if (!memory) return HV_BAD_PARAMETER;
  Release(pval);
  auto* block = static_cast<StringBlock*>(memory);
  block->references = 1;
  block->length = numChars;
  if (numChars) wmemcpy(block->chars, chars, numChars);
  block->chars[numChars] = 0;
  pval->t = T_STRING;
  pval->u = units;
  pval->d = reinterpret_cast<uintptr_t>(block);
  return HV_OK;
}

extern "C" UINT HLAPI ValueIntData(const VALUE* pval, INT* pData) {
  if (!pval || !pData) return HV_BAD_PARAMETER;
  if (pval->t != T_INT && pval->t != T_BOOL && pval->t != T_LENGTH) return HV_INCOMPATIBLE_TYPE;
  *pData = static_cast<INT>(static_cast<INT64>(pval->d));
  return HV_OK;
}

extern "C" UINT HLAPI ValueIntDataSet(VALUE* pval, INT data, UINT type, UINT units) {
  if (!pval) return HV_BAD_PARAMETER;
  Release(pval);
  pval->t = type;
  pval->u = units;
  pval->d = static_cast<UINT64>(static_cast<INT64>(data));
  return HV_OK;
}
