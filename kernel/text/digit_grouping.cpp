#include "kernel/text/digit_grouping.h"

namespace qv::kernel {

DigitGrouping::DigitGrouping(const WCHAR* sizes) {
  int last_size = 0;
  int end = 0;
  for (; count_ < kMost && *sizes >= QV_TEXT('0') && *sizes <= QV_TEXT('9'); sizes += 2) {
    const int size = *sizes - QV_TEXT('0');
    if (size == 0) {
      repeat_ = last_size;
      return;
    }
    last_size = size;
    end += size;
    ends_[count_++] = end;
    if (sizes[1] != QV_TEXT(';')) return;
  }
}

bool DigitGrouping::separates(int digits_that_follow) const {
  if (count_ == 0) return false;
  const int last = ends_[count_ - 1];
  if (digits_that_follow > last) return repeat_ != 0 && (digits_that_follow - last) % repeat_ == 0;
  for (int i = 0; i < count_; ++i)
    if (ends_[i] == digits_that_follow) return true;
  return false;
}

int DigitGrouping::separators(int digits) const {
  int separators = 0;
  for (int i = 0; i < count_ && ends_[i] < digits; ++i)
    ++separators;
  if (repeat_ != 0 && digits > ends_[count_ - 1]) separators += (digits - 1 - ends_[count_ - 1]) / repeat_;
  return separators;
}

} // namespace qv::kernel
