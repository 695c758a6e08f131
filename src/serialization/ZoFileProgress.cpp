#include <zoactor/serialization/ZoFileProgress.h>

#include <vector>

namespace {

struct Entry {
  ZoString text;
  int code;
};

// The stack, most recent entry last.
std::vector<Entry>& Stack() {
  static std::vector<Entry> stack;
  return stack;
}

void (*gCallback)() = nullptr;

}  // namespace

ZoCriticalSection ZoFileProgress::lock;

void ZoFileProgress::SetProgress(int code, ZoString const& text) {
  {
    ZoCriticalSectionLock hold(lock);
    std::vector<Entry>& stack = Stack();
    if (code == kPop) {
      if (!stack.empty()) stack.pop_back();
    } else if (code == kClear) {
      stack.clear();
    } else {
      stack.push_back(Entry{text, code});
    }
  }
  UpdateProgress();
}

void ZoFileProgress::GetProgress(int& code, ZoString& text) {
  ZoCriticalSectionLock hold(lock);
  std::vector<Entry> const& stack = Stack();
  if (stack.empty()) {
    code = kPop;
    text = NULL_STRING;
  } else {
    code = stack.back().code;
    text = stack.back().text;
  }
}

void ZoFileProgress::SetProgressCB(void (*callback)()) {
  ZoCriticalSectionLock hold(lock);
  gCallback = callback;
}

void ZoFileProgress::UpdateProgress() {
  ZoCriticalSectionLock hold(lock);
  if (gCallback != nullptr) gCallback();
}

int ZoFileProgress::Depth() {
  ZoCriticalSectionLock hold(lock);
  return static_cast<int>(Stack().size());
}
