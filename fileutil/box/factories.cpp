#include "qv/mp4/factory.h"

namespace fileutil {

namespace {

enum Factories : uint32_t { GENERAL = 1, META = 2, UPDATE = 4 };

/// Registers the rows of the tables that name the factory.
void addRows(TypeFactory& factory, uint32_t which) {
  const auto add = [&]<class Box>(std::unique_ptr<Box> prototype, uint32_t factories) {
    if ((factories & which) != 0) factory.add(std::move(prototype));
  };
#define QV_MP4_ADD_CONTAINER(type, place, factories) add(std::make_unique<ContainerBox<QvFourCC(type)>>(), factories);
#define QV_MP4_ADD_BOX(type, Class, place, factories) add(std::make_unique<Class>(), factories);
#define QV_MP4_ADD_ASSET(type) factory.add(std::make_unique<ThreeGPPAssetMetaBox<QvFourCC(type)>>());
  QV_MP4_CONTAINER_TABLE(QV_MP4_ADD_CONTAINER)
  QV_MP4_BOX_TABLE(QV_MP4_ADD_BOX)
  QV_MP4_ASSET_TABLE(QV_MP4_ADD_ASSET)
}

} // namespace

BoxFactory::BoxFactory() { addRows(*this, GENERAL); }
ReadMetaFactory::ReadMetaFactory() { addRows(*this, META); }
MetaFactory::MetaFactory() { addRows(*this, UPDATE); }

GuidBoxFactory::GuidBoxFactory() { add(std::make_unique<ID3v23MetaDataBox>()); }

DataBoxFactory::DataBoxFactory() {
#define QV_MP4_ADD_DATA(indicator) add(std::make_unique<DataBox<indicator>>());
  QV_MP4_DATA_TABLE(QV_MP4_ADD_DATA)
}

ItemFactory::ItemFactory() {
#define QV_MP4_ADD_ITEM(type) add(std::make_unique<ItemContainerBox<QvFourCC(type)>>());
  QV_MP4_ITEM_TABLE(QV_MP4_ADD_ITEM)
}

} // namespace fileutil
