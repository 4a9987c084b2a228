// Factories: from a key to a new box.
#pragma once

#include "qv/mp4/boxes.h"

#include <map>
#include <memory>

namespace fileutil {

/// What makes boxes of one kind of key.
template <class Key, class Product>
class IFactory {
public:
  virtual ~IFactory() = default;
  /// A new box, which the caller owns; never null.
  virtual Product* create(const Key& key) const = 0;
};

/// Holds a prototype for each key; a key that has none gives an `Unknown`.
template <class Key, class Product, class Unknown, class Compare>
class Factory : public IFactory<Key, Product> {
public:
  void add(const Key& key, std::unique_ptr<Product> prototype) { prototypes_[key] = std::move(prototype); }
  bool knows(const Key& key) const { return prototypes_.contains(key); }
  Product* create(const Key& key) const override {
    const auto found = prototypes_.find(key);
    return found == prototypes_.end() ? new Unknown : found->second->create();
  }

private:
  std::map<Key, std::unique_ptr<Product>, Compare> prototypes_;
};

} // namespace fileutil
