// Factories: from a key to a new box.
//
// A factory does not change once it is made; any thread may create from it.
#pragma once

#include "qv/mp4/boxes.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace fileutil {

/// What makes boxes of one kind of key.
template <class Key, class Product>
class IFactory {
public:
  virtual ~IFactory() = default;
  /// A new box, which the caller owns; never null. Throws std::bad_alloc.
  virtual Product* create(const Key& key) const = 0;
};

// ---- the key of a box, asked of itself, and given to one that has any key ------------------------------------------

inline FourCC keyOf(const IBox& box) { return box.type(); }
inline uint32_t keyOf(const IDataBox& box) { return box.typeIndicator(); }
template <class Base>
const GUID& keyOf(const Guided<Base>& box) {
  return box.extendedType;
}

inline void giveKey(UnknownBox& box, FourCC key) { box.setType(key); }
inline void giveKey(UnknownItemBox& box, FourCC key) { box.setType(key); }
inline void giveKey(UnknownDataBox& box, uint32_t key) { box.indicator = key; }
inline void giveKey(UnknownGuidBox& box, const GUID& key) { box.extendedType = key; }

/// Holds a prototype for each key, by key; a key that has none gives an `Unknown`, which is told the key.
template <class Key, class Product, class Unknown, class Compare>
class Factory : public IFactory<Key, Product> {
public:
  /// A prototype is registered by the key that it says is its own; a second one of a key replaces the first.
  template <class Box>
  void add(std::unique_ptr<Box> prototype) {
    const Key key = keyOf(*prototype);
    const auto at = place(key);
    if (at != prototypes_.end() && !Compare()(key, at->first))
      prototypes_[static_cast<size_t>(at - prototypes_.begin())].second = std::move(prototype);
    else
      prototypes_.emplace(at, key, std::move(prototype));
  }
  bool knows(const Key& key) const { return find(key) != nullptr; }
  Product* create(const Key& key) const override {
    if (const Product* const prototype = find(key)) return prototype->create();
    auto* const unknown = new Unknown;
    giveKey(*unknown, key);
    return unknown;
  }

private:
  using Row = std::pair<Key, std::unique_ptr<Product>>;

  typename std::vector<Row>::const_iterator place(const Key& key) const {
    return std::lower_bound(
        prototypes_.begin(), prototypes_.end(), key,
        [](const Row& row, const Key& wanted) { return Compare()(row.first, wanted); });
  }
  const Product* find(const Key& key) const {
    const auto at = place(key);
    return at == prototypes_.end() || Compare()(key, at->first) ? nullptr : at->second.get();
  }

  std::vector<Row> prototypes_; ///< in the order of their keys
};

using TypeFactory = Factory<FourCC, IBox, UnknownBox, FourCCCmp>;

// ---- the five, each filled from the tables of box_table.h; where in a file a type is known is the reader's affair --

/// Every type that is known, for BoxReader::readFile().
class QV_API BoxFactory : public TypeFactory {
public:
  BoxFactory();
};

/// What metadata is read from, for BoxReader::readMeta().
class QV_API ReadMetaFactory : public TypeFactory {
public:
  ReadMetaFactory();
};

/// What must be written anew when metadata changes, for BoxReader::readMetaForUpdate().
class QV_API MetaFactory : public TypeFactory {
public:
  MetaFactory();
};

/// Boxes of type "uuid", by their extended type.
class QV_API GuidBoxFactory : public Factory<GUID, IBox, UnknownGuidBox, GuidCmp> {
public:
  GuidBoxFactory();
};

/// Boxes of type "data", by their type indicator.
class QV_API DataBoxFactory : public Factory<uint32_t, IBox, UnknownDataBox, std::less<>> {
public:
  DataBoxFactory();
};

/// What is directly inside "ilst", where every type is an item.
class QV_API ItemFactory : public Factory<FourCC, IBox, UnknownItemBox, FourCCCmp> {
public:
  ItemFactory();
};

} // namespace fileutil
