// Fields of the header record that clients read and set, and checks of a record.
#include "kernel/list/list_gate.h"

using namespace qv::kernel;

namespace {

constexpr LONGLONG kRefusedUserData = 0xFFFFFFFF;

std::atomic_ref<LONGLONG> user_data(tQVLIST* list) { return std::atomic_ref<LONGLONG>(list->userData); }

} // namespace

LONGLONG QvList_GetSortCriteria(tQVLIST* list) {
  const ListGate gate(list);
  return list ? list->sortCriteria : 0;
}

DWORD QvList_GetCreateOptions(tQVLIST* list) {
  const ListGate gate(list);
  return list ? options_of(list) : 0;
}

LONGLONG QvList_SetUserData(tQVLIST* list, LONGLONG value) {
  const ListGate gate(list);
  return gate ? user_data(list).exchange(value) : kRefusedUserData;
}

LONGLONG QvList_GetUserData(tQVLIST* list) {
  const ListGate gate(list);
  return gate ? user_data(list).load() : kRefusedUserData;
}

DWORD QvList_GetThreadOwner(tQVLIST* list) { return list ? list->ownerThread : 0; }

HRESULT QvList_SetThreadOwner(tQVLIST* list, DWORD threadId) {
  if (!list) return E_FAIL;
  list->ownerThread = threadId != 0 ? threadId : GetCurrentThreadId();
  return S_OK;
}

LONG QvList_IsList(const void* list, ULONGLONG bytes) {
  return bytes == sizeof(tQVLIST) && !IsBadReadPtr(list, sizeof(tQVLIST)) ? QvList_IsListFast(list) : 0;
}

LONG QvList_IsListFast(const void* list) {
  return list && static_cast<const tQVLIST*>(list)->signature == QVLIST_SIGNATURE ? 1 : 0;
}

LONG QvList_IsValidIndexSlow(tQVLIST* list, LONG index) {
  const ListGate gate(list);
  return gate && index >= 0 && index < list->count ? 1 : 0;
}

LONG QvList_GetFileAndLine(tQVLIST*, WCHAR* text) {
  if (text) *text = 0;
  return -1;
}
