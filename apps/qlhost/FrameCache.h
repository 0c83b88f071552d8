// The host's cache of decoded frames, and what it does when the library asks it to purge.
//
// A frame's pixels are a recycled pointer of the library. A frame that somebody holds is never dropped; the
// others go least recently used first. A frame is decoded by one thread while others wait for it, and a frame
// that could not be read is not tried again, so each faulty file is one problem and not one a pass.
//
// No lock is held while a frame is loaded: loading allocates, and allocating may ask this cache to purge.
#ifndef QLHOST_FRAMECACHE_H
#define QLHOST_FRAMECACHE_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

#include "Png.h"

namespace qlhost {

class Frame {
  public:
    /// Takes room from the library, which may call the purge callback. Null when memory is out; the library has
    /// reported it then.
    static std::shared_ptr<Frame> Allocate(const PngSize& size);
    ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    const PngSize& Size() const { return m_size; }
    std::uint8_t* Pixels() const { return m_pixels; }

  private:
    Frame(const PngSize& size, std::uint8_t* pixels) : m_size{size}, m_pixels{pixels} {}
    PngSize m_size;
    std::uint8_t* m_pixels;
};

class FrameCache {
  public:
    using FramePtr = std::shared_ptr<const Frame>;
    using Load = std::function<FramePtr(std::size_t index)>;

    struct Counts {
        std::uint64_t hits = 0, decoded = 0, failed = 0, dropped = 0, droppedBytes = 0, purgeRequests = 0;
    };

    explicit FrameCache(std::size_t frames) : m_entries(frames) {}

    /// The frame, from the cache or by `load` on this thread. Null for a frame that cannot be read.
    FramePtr Get(std::size_t index, const Load& load);

    /// Drops frames until `bytes` are free or only held ones are left; gives the bytes freed.
    std::uint64_t Purge(std::uint64_t bytes);

    void Clear();
    Counts Read() const;

  private:
    enum class State { Empty, Loading, Ready, Failed };
    struct Entry {
        State state = State::Empty;
        FramePtr frame;
        std::list<std::size_t>::iterator place;  // in m_recent, while Ready
    };

    FramePtr Finish(std::size_t index, FramePtr frame);

    mutable std::mutex m_mutex;  // guards everything below
    std::condition_variable m_loaded;
    std::vector<Entry> m_entries;
    std::list<std::size_t> m_recent;  // most recently used first
    Counts m_counts;
};

}  // namespace qlhost

#endif
