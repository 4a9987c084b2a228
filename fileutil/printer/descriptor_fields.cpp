// The descriptors of "esds" and "iods" as parts of their box.
#include "qv/mp4/box_printer.h"
#include "qv/mp4/descriptor_visitors.h"

#include <ostream>

namespace fileutil {

namespace {

/// The printer's words, told to a report.
class DescriptorReport : public esds::DescriptorPrinter {
public:
  explicit DescriptorReport(IBoxReport& report) : DescriptorPrinter(nowhere_), report_(report) {}

protected:
  void begin(const char* name, const esds::Descriptor& descriptor) override {
    report_.beginPart("descriptors", name);
    field("tag", descriptor.tag());
    field("size", descriptor.size());
  }
  void field(const char* name, uint64_t value) override { report_.field(name, value); }
  void bytes(const char* name, const esds::Bytes& bytes) override {
    report_.field(name, std::span<const uint8_t>(bytes));
  }
  void end() override { report_.endPart(); }

private:
  std::ostream nowhere_{nullptr};
  IBoxReport& report_;
};

} // namespace

void BoxPrinter::descriptors(DescriptorBox* box) {
  versionFlags(box->versionFlags);
  if (box->descriptor == nullptr) return;
  DescriptorReport report(report_);
  box->descriptor->accept(&report);
}

void BoxPrinter::visit(ElementaryStreamDescriptorBox* box) { descriptors(box); }
void BoxPrinter::visit(InitialObjectDescriptorBox* box) { descriptors(box); }

} // namespace fileutil
