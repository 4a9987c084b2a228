// The box of the ISO base media file format (ISO/IEC 14496-12): what every one has, lists of them, and boxes with
// children.
//
// Positions and sizes are bytes in the file, headers included. Nothing here has a lock: a tree belongs to one thread at
// a time.
#pragma once

#include "qv/mp4/visitor.h"

#include <array>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

namespace fileutil {

class QV_API IBox {
public:
  IBox() = default;
  virtual ~IBox() = default;
  IBox(const IBox&) = delete;
  IBox& operator=(const IBox&) = delete;

  /// Calls the visitor's overload for the box's own class.
  virtual void accept(IBoxVisitor* visitor) = 0;
  /// The planned size becomes the same.
  virtual void setSize(uint64_t size) { size_ = plannedSize_ = size; }
  /// Of the first byte of the header. The planned position becomes the same.
  virtual void setPosition(uint64_t position) { position_ = plannedPosition_ = position; }
  virtual void setHeaderSize(uint32_t size) { headerSize_ = size; }
  /// How many of its bytes a reader has consumed, the header included.
  virtual uint64_t& bytesRead() { return bytesRead_; }
  virtual uint64_t size() const { return size_; }
  virtual FourCC type() const = 0;
  /// A new box of the same class and type with nothing in it. The caller owns it.
  virtual IBox* create() const = 0;

  uint64_t position() const { return position_; }
  /// The size that the file's header has: more than size() where it reaches past the parent's end and size() does not,
  /// 0 where it says "to the end". 0 in a box that was not read.
  uint64_t sizeInHeader() const { return sizeInHeader_; }
  void setSizeInHeader(uint64_t size) { sizeInHeader_ = size; }
  /// 8, or 16 where the file has the 64-bit form; without the extended type of "uuid".
  uint32_t headerSize() const { return headerSize_; }
  uint64_t plannedPosition() const { return plannedPosition_; }
  void setPlannedPosition(uint64_t position) { plannedPosition_ = position; }
  uint64_t plannedSize() const { return plannedSize_; }
  void setPlannedSize(uint64_t size) { plannedSize_ = size; }

private:
  friend class Boxes;
  IBox* previous_ = nullptr; ///< its neighbours in the list that owns it
  IBox* next_ = nullptr;
  uint64_t size_ = 0;
  uint64_t position_ = 0;
  uint64_t plannedSize_ = 0;
  uint64_t plannedPosition_ = 0;
  uint64_t bytesRead_ = 0;
  uint64_t sizeInHeader_ = 0;
  uint32_t headerSize_ = 8;
};

/// A doubly linked list of boxes that it owns, in file order. A box is in one list at most; its links are in itself.
class QV_API Boxes {
public:
  /// Goes both ways, and gives the box itself, not a place to put another.
  class iterator {
  public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = IBox*;
    using difference_type = std::ptrdiff_t;
    using pointer = IBox* const*;
    using reference = IBox*;

    iterator() = default;
    IBox* operator*() const { return box_; }
    iterator& operator++() {
      box_ = box_->next_;
      return *this;
    }
    iterator& operator--() {
      box_ = box_ == nullptr ? list_->last_ : box_->previous_;
      return *this;
    }
    iterator operator++(int) {
      iterator before = *this;
      ++*this;
      return before;
    }
    iterator operator--(int) {
      iterator before = *this;
      --*this;
      return before;
    }
    bool operator==(const iterator& other) const { return box_ == other.box_; }

  private:
    friend class Boxes;
    iterator(const Boxes* list, IBox* box) : list_(list), box_(box) {}
    const Boxes* list_ = nullptr;
    IBox* box_ = nullptr; ///< null behind the last
  };
  using const_iterator = iterator;

  /// No list holds more.
  static constexpr size_t kMaxLength = size_t{1} << 20;

  Boxes() = default;
  ~Boxes() { clear(); }
  Boxes(const Boxes&) = delete;
  Boxes& operator=(const Boxes&) = delete;

  /// Takes the box over. Throws std::length_error("list too long") past kMaxLength; the box is destroyed then.
  void push_back(IBox* box) { insert(end(), box); }
  void push_front(IBox* box) { insert(begin(), box); }
  /// The same, in front of a place in the list.
  iterator insert(const_iterator before, IBox* box);
  /// Destroys a box, with its children.
  iterator erase(const_iterator at);
  /// Gives a box to the caller.
  IBox* release(const_iterator at);
  void clear();

  iterator begin() const { return {this, first_}; }
  iterator end() const { return {this, nullptr}; }
  /// Null where the list is empty.
  IBox* front() const { return first_; }
  IBox* back() const { return last_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  /// The first box of that type, or null.
  IBox* find(FourCC type) const;

  /// Bytes between the end of the last box read and the end of the parent or the source; 0 where all is boxes. Where
  /// the source's length is unknown, those of the file's own list that were read.
  uint64_t tailSize = 0;
  /// Reading left boxes out, or kept containers as UnknownBoxes: the list was full, too deep, or memory ran out.
  bool isLimited = false;

private:
  IBox* first_ = nullptr;
  IBox* last_ = nullptr;
  size_t size_ = 0;
};

/// A box with children. What precedes them in its payload is the class's own.
class QV_API IContainerBox : public IBox {
public:
  Boxes& children() { return children_; }
  const Boxes& children() const { return children_; }

private:
  Boxes children_;
};

/// A box whose payload begins with the version and flags word, kept as the four bytes that it is in the file.
template <class Base>
class Full : public Base {
public:
  std::array<uint8_t, 4> versionFlags{};
  uint8_t version() const { return versionFlags[0]; }
};
using FullBox = Full<IBox>;
using FullContainerBox = Full<IContainerBox>;

/// What the concrete class `Box` of one type adds to its base.
template <class Box, class Base, FourCC kType>
class BoxOf : public Base {
public:
  void accept(IBoxVisitor* visitor) override { visitor->visit(static_cast<Box*>(this)); }
  FourCC type() const override { return kType; }
  IBox* create() const override { return new Box; }
};

/// The same for a class whose boxes have any type.
template <class Box, class Base>
class BoxOfAnyType : public Base {
public:
  void accept(IBoxVisitor* visitor) override { visitor->visit(static_cast<Box*>(this)); }
  FourCC type() const override { return type_; }
  void setType(FourCC type) { type_ = type; }
  IBox* create() const override {
    auto* const box = new Box;
    box->setType(type_);
    return box;
  }

private:
  FourCC type_ = 0;
};

/// Bytes of a payload, as they are in the file.
using Bytes = std::vector<uint8_t>;

} // namespace fileutil
