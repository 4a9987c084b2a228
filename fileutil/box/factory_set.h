// The factories that readers share.
#pragma once

#include "qv/mp4/factory.h"

namespace fileutil {

struct FactorySet {
  BoxFactory general;
  ReadMetaFactory meta;
  MetaFactory update;
  GuidBoxFactory guids;
  DataBoxFactory data;
  ItemFactory items;
};

/// The process's set, made when nobody has it; it lives as long as somebody does: Mpeg4MetaStartUp() until its last
/// shut-down, and every reader. Any thread. Throws std::bad_alloc.
std::shared_ptr<const FactorySet> useFactories();

} // namespace fileutil
