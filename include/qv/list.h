// Lists: growable, index-addressed sequences of fixed-size slots, the library's one container.
//
//     tQVLIST* list = nullptr;
//     if (FAILED(QvList_CreateExZ(&list, sizeof(Marker), 0, 0, QVLIST_OPT_ARRAY, 0, 0, 0))) ...
//     QvList_InsertList(list, -1, &marker, 1);                       // append a copy
//     const Marker* markers = static_cast<const Marker*>(list->items); // walk list->count of them
//     QvList_Destroy(list);
//
// A list is of one of three kinds, chosen when it is created:
//
//   pointer list    neither option          a slot holds 8 bytes of the client's, which the list never frees
//   heap-item list  QVLIST_OPT_HEAPITEMS    a slot points to a block that the list allocated and frees with the slot
//   array list      QVLIST_OPT_ARRAY        a slot holds the item's bytes, rounded up to a multiple of 4
//
// Ranges follow one rule: a negative index of an insertion means at the end; a negative start of a search means 0; a
// negative n means to the end of the list; n is cut to what remains.
//
// Threads: a list with QVLIST_OPT_THREADSAFE may be used from any thread, one operation at a time; its lock is
// re-entrant. Any other list is used from one thread at a time. Callbacks run inside the lock and must not change
// their list. Walking `items` directly needs the client's own exclusion.
//
// Every operation that names a refusal below first passes the thread gate: a thread-safe list enters its lock; any
// other list whose options lack QVLIST_OPT_ANYTHREAD refuses threads other than its owner. (Creation always adds that
// option; a client may clear it in the record.) HRESULT functions refuse with E_FAIL, others with the value named. A
// null list is refused likewise. QvList_AllocAndInsertItem and QvList_MoveItemsBetweenHeapLists enter the locks but
// pass no gate of their own: where there is something to do, the gate of their first step refuses.
//
// A failure leaves count, allocated and slots as they were. Sizes and counts that cannot be had give E_OUTOFMEMORY.
#pragma once

#include "qv/win32.h"

/// Creation options.
inline constexpr DWORD QVLIST_OPT_HEAPITEMS = 0x2;
inline constexpr DWORD QVLIST_OPT_ARRAY = 0x4; ///< not together with QVLIST_OPT_HEAPITEMS
/// The header record lies in storage of the caller's, which QvList_Destroy does not free.
inline constexpr DWORD QVLIST_OPT_INPLACE = 0x8;
/// Heap-item lists: items come from a heap of the list's own, which is destroyed as a whole.
inline constexpr DWORD QVLIST_OPT_PRIVATEHEAP = 0x10000000;
inline constexpr DWORD QVLIST_OPT_ANYTHREAD = 0x40000000; ///< added by every creation
inline constexpr DWORD QVLIST_OPT_THREADSAFE = 0x80000000;

inline constexpr DWORD QVLIST_SIGNATURE = 0x54525543; ///< "CURT"

/// The header record. Clients read count, itemSize and items to walk a list; everything else changes through the
/// functions alone. While no operation runs on it, its bytes may be moved.
struct tQVLIST {
  LONG count; ///< slots in use
  DWORD reserved0;
  ULONGLONG itemSize; ///< bytes per slot
  /// allocated x itemSize bytes of the global heap. Slots from count on are zero, except after
  /// QvList_ArrayForceItemCount has lowered the count.
  void* items;
  CRITICAL_SECTION lock; ///< initialised with QVLIST_OPT_THREADSAFE only
  DWORD signature;       ///< QVLIST_SIGNATURE; 0 once destroyed
  DWORD options;
  LONGLONG userData;     ///< the client's
  LONGLONG sortCriteria; ///< of the last sort; the first argument of every comparison
  DWORD ownerThread;     ///< id of the creating thread
  LONG allocated;        ///< capacity in slots
  LONG growBy;           ///< capacity grows in multiples of this many slots
  HANDLE itemHeap;       ///< QVLIST_OPT_PRIVATEHEAP only
  DWORD heapAllocFlags;  ///< heap-item lists: HEAP_NO_SERIALIZE | HEAP_ZERO_MEMORY
  DWORD heapFreeFlags;   ///< heap-item lists: HEAP_NO_SERIALIZE
  void* pendingItem;     ///< made by QvList_AllocItem and not yet inserted
  ULONGLONG reserved1;
};
static_assert(sizeof(CRITICAL_SECTION) == 40 && sizeof(tQVLIST) == 136);
static_assert(offsetof(tQVLIST, count) == 0 && offsetof(tQVLIST, itemSize) == 8 && offsetof(tQVLIST, items) == 16 &&
              offsetof(tQVLIST, lock) == 24 && offsetof(tQVLIST, signature) == 64 && offsetof(tQVLIST, options) == 68 &&
              offsetof(tQVLIST, userData) == 72 && offsetof(tQVLIST, sortCriteria) == 80 &&
              offsetof(tQVLIST, ownerThread) == 88 && offsetof(tQVLIST, allocated) == 92 &&
              offsetof(tQVLIST, growBy) == 96 && offsetof(tQVLIST, itemHeap) == 104 &&
              offsetof(tQVLIST, heapAllocFlags) == 112 && offsetof(tQVLIST, heapFreeFlags) == 116 &&
              offsetof(tQVLIST, pendingItem) == 120 && offsetof(tQVLIST, reserved1) == 128);

/// Negative, zero or positive as a is below, equal to or above b. a and b are the slots' values for pointer and
/// heap-item lists, and the slots' addresses for array lists; in the sorted searches a is the caller's key. criteria:
/// the list's sortCriteria.
typedef LONG(CALLBACK* QVLISTCOMPARE)(LONGLONG criteria, const void* a, const void* b);
/// 0 for a match. item: as for QVLISTCOMPARE.
typedef LONG(CALLBACK* QVLISTMATCH)(LONGLONG context, const void* item);

// ---- life ----------------------------------------------------------------------------------------------------------

/// Creates a list and stores its address in *list. itemSize: bytes of an array list's item; ignored for the others.
/// An item of 0 bytes makes slots of 0 bytes.
/// initialCount <= 0 becomes 16, else at least 4, and the capacity is that rounded up to a multiple of growBy. growBy
/// <= 0 becomes 16; then it is limited to 4 .. 66560. The last three arguments are ignored.
/// With QVLIST_OPT_INPLACE *list is the caller's storage of sizeof(tQVLIST) bytes (null: E_FAIL).
/// E_FAIL: both item options; a null `list`. E_OUTOFMEMORY: *list is null, or storage without a signature.
QV_FUNCTION HRESULT QvList_CreateExZ(tQVLIST** list, DWORD itemSize, LONG initialCount, LONG growBy, DWORD options,
                                     ULONG_PTR reserved1, ULONG_PTR reserved2, ULONG_PTR reserved3);
/// Frees the items of a heap-item list, the slots and the header (unless it is in place). A pending item is not freed:
/// QvList_DeleteList(list, -1, -1, 0) does that first. Null: S_OK. No other thread may be in the list any more.
QV_FUNCTION HRESULT QvList_Destroy(tQVLIST* list);
/// Moves a list's header into storage of the caller's of sizeof(tQVLIST) bytes, which then is the list and has
/// QVLIST_OPT_INPLACE; frees the old header and sets *list to null. No other thread may be in the list.
/// E_INVALIDARG: a null argument, a null *list or one without signature. E_FAIL: already in place.
QV_FUNCTION HRESULT QvList_ConvertToInPlace(tQVLIST** list, void* storage);

// ---- slots ---------------------------------------------------------------------------------------------------------

/// Inserts slots before `index` (negative or above count: at the end):
///   src, n >= 0      n slots copied from src; E_FAIL for a heap-item list
///   src, n < 0       -n slots copied from src, for any kind: hands blocks of the C runtime, or of the private heap, to
///                    a heap-item list
///   null, n == -1    one slot that holds the pending item; E_FAIL without one
/// Anything else: E_FAIL. A successful insertion clears the pending item. src may lie within the list's own slots.
QV_FUNCTION HRESULT QvList_InsertList(tQVLIST* list, LONG index, const void* src, LONG n);
/// Deletes n slots from index on, and the items of a heap-item list. n < 0: to the end, or, with index < 0, frees the
/// pending item (E_FAIL without one). n = 0: S_OK and nothing done. E_FAIL: index outside 0 .. count - 1. shrink
/// (non-zero): gives slack back when it exceeds growBy.
QV_FUNCTION HRESULT QvList_DeleteList(tQVLIST* list, LONG index, LONG n, LONG shrink);
/// Sets an array list's count; E_FAIL for other kinds and for a negative count. New slots keep the bytes that the
/// block holds there: those dropped by an earlier, lower count come back. `shrink` has no effect.
QV_FUNCTION HRESULT QvList_ArrayForceItemCount(tQVLIST* list, LONG newCount, LONG shrink);
/// Raises the capacity by n slots, rounded up to a multiple of growBy; n < 1 means growBy.
QV_FUNCTION HRESULT QvList_GrowAllocated(tQVLIST* list, LONG n);
/// Lowers the capacity by n slots, rounded up to a multiple of growBy, or by one growBy less where that exceeds the
/// slack (n is cut to that first); n < 0 means all slack. One slot's memory at least remains.
QV_FUNCTION HRESULT QvList_ShrinkAllocated(tQVLIST* list, LONG n);
/// Moves n slots from index `from` so that the first of them ends up at index `to`. to < 0: 0. n < 0: count - max(from,
/// to). E_INVALIDARG: from < 0. E_FAIL: a range that passes the end.
QV_FUNCTION HRESULT QvList_MoveRange(tQVLIST* list, LONG from, LONG to, LONG n);

// ---- items of heap-item lists --------------------------------------------------------------------------------------

/// Makes a zeroed block of `size` bytes the pending item. *item is null on failure. E_FAIL: another kind of list, an
/// item already pending, a null `item`.
QV_FUNCTION HRESULT QvList_AllocItem(tQVLIST* list, ULONGLONG size, void** item);
/// Allocates, fills with `size` bytes of src (null: zeros) and inserts an item, all inside the lock. index negative or
/// above count: at the end. *outIndex (optional): where it is, -1 on failure. E_FAIL: another kind of list, or an item
/// already pending, or refused by QvList_AllocItem. A failure leaves no item pending: also one that was is freed.
QV_FUNCTION HRESULT QvList_AllocAndInsertItem(tQVLIST* list, const void* src, ULONGLONG size, LONG index,
                                              LONG* outIndex);
/// Reallocates the item at a valid index. E_OUTOFMEMORY: the old item stays. E_FAIL: another kind of list.
QV_FUNCTION HRESULT QvList_ReAllocItem(tQVLIST* list, LONG index, ULONGLONG size);
/// Bytes asked for when the item at a valid index was allocated (array lists: itemSize); of a block that the client
/// handed over, what its heap says, which may be some bytes more. index < 0: bytes of the whole list: slots, header,
/// and the items of a heap-item list. Ask it of array and heap-item lists only: it takes a pointer list's values for
/// blocks of the C runtime. Refused: -1.
QV_FUNCTION ULONGLONG QvList_AllocSize(tQVLIST* list, LONG index);
/// Moves n items of src from srcIndex on to dest, before destIndex (negative: at the end), in their order and without
/// copying. n < 0: src's whole count; n = 0: S_OK and nothing done, also on lists that refuse this thread. E_FAIL:
/// another kind of list, one list twice, an item pending in dest, a range that passes src's end, or refused. Both lists
/// must take their items from the same heap. Enters dest's lock, then src's: threads that move between two thread-safe
/// lists in opposite directions at once can wait for each other forever.
QV_FUNCTION HRESULT QvList_MoveItemsBetweenHeapLists(tQVLIST* dest, LONG destIndex, tQVLIST* src, LONG srcIndex,
                                                     LONG n);

// ---- searches: an index, or -1 when there is none or when refused --------------------------------------------------

/// The first item in the range for which match(context, item) is 0.
QV_FUNCTION LONG QvList_FindItemRange(tQVLIST* list, LONG start, LONG n, LONGLONG context, QVLISTMATCH match);
/// The first slot whose value is `item`; for array lists, whose bytes equal the itemSize bytes at `item`.
QV_FUNCTION LONG QvList_FindSpecificItemRange(tQVLIST* list, LONG start, LONG n, const void* item);
/// Binary search in an ascending range; of a run of equals any may be found.
QV_FUNCTION LONG QvList_FindSortedItemRange(tQVLIST* list, const void* key, LONG start, LONG n, QVLISTCOMPARE compare);
/// Where `key` is to be inserted to keep the range ascending; the index of an equal item where there is one. An empty
/// range gives 0 whatever start is; start above count gives -1.
QV_FUNCTION LONG QvList_FindSortedInsertIndexRange(tQVLIST* list, const void* key, LONG start, LONG n,
                                                   QVLISTCOMPARE compare);

// ---- sorting, ascending, not stable: each stores criteria in sortCriteria first; a null callback sorts nothing ------

/// Selection sort: n^2 / 2 comparisons, n swaps at most.
QV_FUNCTION HRESULT QvList_Sort(tQVLIST* list, LONGLONG criteria, QVLISTCOMPARE compare);
QV_FUNCTION HRESULT QvList_HeapSort(tQVLIST* list, LONGLONG criteria, QVLISTCOMPARE compare);
/// Inserts a copy of each slot of src into the sorted list dest, as far as memory allows: always S_OK. A heap-item dest
/// receives nothing. Holds src's lock throughout. E_FAIL: refused by src, or one list twice. E_INVALIDARG: slots of
/// different sizes.
QV_FUNCTION HRESULT QvList_SortTo(tQVLIST* dest, tQVLIST* src, LONGLONG criteria, QVLISTCOMPARE compare);

// ---- fields and checks ---------------------------------------------------------------------------------------------

QV_FUNCTION LONGLONG QvList_GetSortCriteria(tQVLIST* list);
QV_FUNCTION DWORD QvList_GetCreateOptions(tQVLIST* list);
/// Exchanges the value atomically and returns the previous one. Refused: 0xFFFFFFFF.
QV_FUNCTION LONGLONG QvList_SetUserData(tQVLIST* list, LONGLONG value);
/// Refused: 0xFFFFFFFF.
QV_FUNCTION LONGLONG QvList_GetUserData(tQVLIST* list);
/// Neither passes the thread gate. Id 0 means the calling thread; always S_OK.
QV_FUNCTION DWORD QvList_GetThreadOwner(tQVLIST* list);
QV_FUNCTION HRESULT QvList_SetThreadOwner(tQVLIST* list, DWORD threadId);
/// 1 if `bytes` is sizeof(tQVLIST), the memory is readable and holds the signature; else 0. No fault on any address.
QV_FUNCTION LONG QvList_IsList(const void* list, ULONGLONG bytes);
/// 1 if the memory, which must be readable, holds the signature. Null: 0.
QV_FUNCTION LONG QvList_IsListFast(const void* list);
/// 1 for 0 <= index < count. Refused: 0.
QV_FUNCTION LONG QvList_IsValidIndexSlow(tQVLIST* list, LONG index);
/// No debug record is kept: writes an empty string to `text` (may be null) and returns -1.
QV_FUNCTION LONG QvList_GetFileAndLine(tQVLIST* list, WCHAR* text);
