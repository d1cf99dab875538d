#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace ztlib {

// A hash multimap from the hash of a name to the positions of the elements. The chain of a bucket
// is in ascending order, so that a search meets the first position first.
class CDataIndex {
 public:
  explicit CDataIndex(std::uint64_t elementCount)
      : buckets(std::bit_ceil(elementCount * 3 / 2)), links(elementCount) {}

  // Positions are entered in ascending order; those of elements without a name are left out.
  void Enter(std::uint64_t hash, std::uint64_t position) {
    if (position >= links.size()) links.resize(position + 1);
    links[position] = {hash, end};
    Bucket& bucket = BucketOf(hash);
    (bucket.first == end ? bucket.first : links[bucket.last].next) = position;
    bucket.last = position;
  }
  // The load factor stays at 1 or below.
  [[nodiscard]] bool IsFull() const { return links.size() > buckets.size(); }

  // The first position with this hash that `matches`, or -1.
  template <class Matches>
  [[nodiscard]] std::int64_t Find(std::uint64_t hash, Matches matches) const {
    for (std::uint64_t at = BucketOf(hash).first; at != end; at = links[at].next)
      if (links[at].hash == hash && matches(at)) return static_cast<std::int64_t>(at);
    return -1;
  }

 private:
  static constexpr std::uint64_t end = UINT64_MAX;
  struct Bucket {
    std::uint64_t first = end;
    std::uint64_t last = end;
  };
  struct Link {
    std::uint64_t hash = 0;
    std::uint64_t next = end;
  };

  [[nodiscard]] Bucket& BucketOf(std::uint64_t hash) { return buckets[hash % buckets.size()]; }
  [[nodiscard]] const Bucket& BucketOf(std::uint64_t hash) const {
    return buckets[hash % buckets.size()];
  }

  std::vector<Bucket> buckets;
  std::vector<Link> links;  // by position
};

}  // namespace ztlib
