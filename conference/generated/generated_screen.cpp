#include "conference/generated/generated_screen.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/thread_annotations.h"

namespace kavrin::conference {
namespace {

struct Rect {
  int left, top, right, bottom;
};

struct Colour {
  unsigned char y, u, v;
};

struct Window {
  std::int32_t id;
  const char* name;
  Rect place;  // on the screen
  Colour body;
  Colour mark;
};

constexpr Rect kScreen{0, 0, 1920, 1080};
constexpr Window kWindows[] = {
    {kClockWindow,
     "Generated window: clock",
     {240, 160, 1040, 760},
     {70, 150, 110},
     {220, 90, 150}},
    {kTextWindow,
     "Generated window: text",
     {1120, 320, 1760, 680},
     {200, 120, 128},
     {40, 128, 128}},
};

// An I420 picture of one part of the desktop; coordinates are the desktop's.
class Canvas {
 public:
  explicit Canvas(const Rect& part)
      : part_(part), width_(part.right - part.left), height_(part.bottom - part.top) {
    memory_ = std::shared_ptr<unsigned char[]>(new unsigned char[width_ * height_ * 3 / 2]);
  }

  void fill(Rect area, Colour colour) {
    const int left = std::clamp(area.left - part_.left, 0, width_) / 2 * 2;
    const int right = std::clamp(area.right - part_.left, 0, width_) / 2 * 2;
    const int top = std::clamp(area.top - part_.top, 0, height_) / 2 * 2;
    const int bottom = std::clamp(area.bottom - part_.top, 0, height_) / 2 * 2;
    if (left >= right || top >= bottom) return;
    unsigned char* y = memory_.get();
    unsigned char* u = y + width_ * height_;
    unsigned char* v = u + width_ * height_ / 4;
    fillPlane(y, width_, {left, top, right, bottom}, colour.y);
    fillPlane(u, width_ / 2, {left / 2, top / 2, right / 2, bottom / 2}, colour.u);
    fillPlane(v, width_ / 2, {left / 2, top / 2, right / 2, bottom / 2}, colour.v);
  }

  PicturePtr finish() && {
    auto picture = std::make_shared<Picture>();
    picture->width = static_cast<std::uint16_t>(width_);
    picture->height = static_cast<std::uint16_t>(height_);
    picture->type = StreamType::kScreen;
    picture->producedAt = Clock::now();
    picture->data = memory_.get();
    picture->memory = std::move(memory_);
    return picture;
  }

 private:
  static void fillPlane(unsigned char* plane, int stride, const Rect& area, unsigned char level) {
    for (int row = area.top; row < area.bottom; ++row) {
      std::memset(plane + row * stride + area.left, level, area.right - area.left);
    }
  }

  const Rect part_;
  const int width_;
  const int height_;
  std::shared_ptr<unsigned char[]> memory_;
};

void drawWindow(Canvas& canvas, const Window& window, std::uint32_t number) {
  const Rect& place = window.place;
  canvas.fill(place, window.body);
  const int step = static_cast<int>(number % 32);
  if (window.id == kClockWindow) {
    const int x = place.left + step * (place.right - place.left - 100) / 31;
    canvas.fill({x, place.top + 200, x + 100, place.top + 300}, window.mark);
    return;
  }
  for (int line = 0; line < 8; ++line) {
    const int length = 80 + ((line * 7 + step) % 8) * 60;
    const int y = place.top + 30 + line * 40;
    canvas.fill({place.left + 40, y, place.left + 40 + length, y + 14}, window.mark);
  }
}

bool has(const std::vector<std::int32_t>& ids, std::int32_t id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

const Window* findWindow(std::int32_t id) {
  for (const Window& window : kWindows) {
    if (window.id == id) return &window;
  }
  return nullptr;
}

// The part of the desktop that a request shows; empty when there is none.
Rect partOf(const ShareRequest& request) {
  const Window* window = request.window ? findWindow(request.id) : nullptr;
  if (request.window ? window == nullptr : request.id != kGeneratedScreen) return {};
  const Rect source = window ? window->place : kScreen;
  const int sourceWidth = source.right - source.left;
  const int sourceHeight = source.bottom - source.top;
  const int left = std::clamp(request.left, 0, sourceWidth) / 2 * 2;
  const int top = std::clamp(request.top, 0, sourceHeight) / 2 * 2;
  const int width = request.width > 0 ? request.width : sourceWidth;
  const int height = request.height > 0 ? request.height : sourceHeight;
  const int right = left + std::min(width, sourceWidth - left) / 2 * 2;
  const int bottom = top + std::min(height, sourceHeight - top) / 2 * 2;
  return {source.left + left, source.top + top, source.left + right, source.top + bottom};
}

class ScreenCapture : public Capture {
 public:
  ScreenCapture(ShareRequest request, PictureConsumer consumer)
      : request_(std::move(request)), consumer_(std::move(consumer)), thread_([this] { run(); }) {}

  ~ScreenCapture() override {
    {
      MutexLock lock(mutex_);
      stopping_ = true;
      wake_.notifyAll();
    }
    thread_.join();
  }

 private:
  void run() {
    const auto period = std::chrono::microseconds(1000000 / request_.frameRate);
    auto due = Clock::now();
    for (std::uint32_t number = 0;; ++number) {
      consumer_(drawGeneratedShare(request_, number));
      due = std::max(due + period, Clock::now());  // A slow consumer lowers the rate.
      MutexLock lock(mutex_);
      while (!stopping_ && wake_.waitUntil(mutex_, due)) {
      }
      if (stopping_) return;
    }
  }

  const ShareRequest request_;
  const PictureConsumer consumer_;
  Mutex mutex_;
  CondVar wake_;
  bool stopping_ KAVRIN_GUARDED_BY(mutex_) = false;
  std::thread thread_;  // The last member: starts when the others are ready.
};

}  // namespace

std::vector<ShareEntry> generatedShareSources() {
  std::vector<ShareEntry> sources;
  sources.push_back({kGeneratedScreen, false, "Generated screen", kScreen.right, kScreen.bottom});
  for (const Window& window : kWindows) {
    sources.push_back({window.id, true, window.name, window.place.right - window.place.left,
                       window.place.bottom - window.place.top});
  }
  return sources;
}

PicturePtr drawGeneratedShare(const ShareRequest& request, std::uint32_t number) {
  const Rect part = partOf(request);
  if (part.right <= part.left || part.bottom <= part.top) return nullptr;
  Canvas canvas(part);
  canvas.fill(kScreen, {90, 140, 120});
  for (const Window& window : kWindows) {
    const bool shown =
        request.window ? window.id == request.id : !has(request.excludedWindows, window.id);
    if (shown) drawWindow(canvas, window, number);
  }
  const auto level = static_cast<unsigned char>(16 + number * 8 % 220);
  canvas.fill({part.left, part.top, part.left + kStripWidth, part.bottom}, {level, 128, 128});
  return std::move(canvas).finish();
}

std::unique_ptr<Capture> openGeneratedShare(const ShareRequest& request, PictureConsumer consumer) {
  if (request.frameRate <= 0 || !drawGeneratedShare(request, 0)) return nullptr;
  return std::make_unique<ScreenCapture>(request, std::move(consumer));
}

}  // namespace kavrin::conference
