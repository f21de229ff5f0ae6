#include "storage/index_seek.h"

namespace jet {
namespace {

// -1, 0 or 1 as `key`, cut to the bound's length, compares with the bound.
int CompareToBound(const std::string& key, const KeyBound& bound) {
  return key.compare(0, bound.key.size(), bound.key);
}

bool AtOrAboveLow(const std::string& key, const KeyBound& low) {
  if (!low.present) return true;
  const int c = CompareToBound(key, low);
  return low.inclusive ? c >= 0 : c > 0;
}

bool AtOrBelowHigh(const std::string& key, const KeyBound& high) {
  if (!high.present) return true;
  const int c = CompareToBound(key, high);
  return high.inclusive ? c <= 0 : c < 0;
}

}  // namespace

Status IndexSeeker::Find(const KeyBound& low, const KeyBound& high, std::vector<RowId>* rows) {
  rows->clear();
  low_ = &low;
  high_ = &high;
  rows_ = rows;
  pages_seen_ = 0;
  Walk walk = Walk::kGoOn;
  return Visit(root_, 0, &walk);
}

Status IndexSeeker::InnerPage(uint32_t page_number, const IndexPage** page) {
  auto it = inner_pages_.find(page_number);
  if (it == inner_pages_.end()) {
    Page raw;
    JET_RETURN_IF_ERROR(pager_.ReadPage(page_number, &raw));
    IndexPage decoded;
    Status s = DecodeIndexPage(raw, pager_.is_jet3(), &decoded);
    if (!s.ok()) return Status::Corruption("index page " + std::to_string(page_number) + ": " + s.message());
    it = inner_pages_.emplace(page_number, std::move(decoded)).first;
  }
  *page = &it->second;
  return Status::OK();
}

// Leaves are read afresh each time (a long range passes thousands); the
// intermediate pages above them come from the kept ones.
Status IndexSeeker::Visit(uint32_t page_number, int depth, Walk* walk) {
  if (depth > kMaxIndexDepth || ++pages_seen_ > pager_.page_count()) {
    return Status::Corruption("index tree under page " + std::to_string(root_) + " has a cycle");
  }
  pager_.ReleaseReadPages();  // the walk keeps decoded pages, never raw ones
  Page raw;
  JET_RETURN_IF_ERROR(pager_.ReadPage(page_number, &raw));
  if (raw[0] == static_cast<uint8_t>(PageType::kIndexLeaf)) {
    IndexPage leaf;
    Status s = DecodeIndexPage(raw, pager_.is_jet3(), &leaf);
    if (!s.ok()) return Status::Corruption("index page " + std::to_string(page_number) + ": " + s.message());
    for (const IndexEntry& e : leaf.entries) {
      if (!AtOrAboveLow(e.key, *low_)) continue;
      if (!AtOrBelowHigh(e.key, *high_)) {
        *walk = Walk::kPastHigh;
        return Status::OK();
      }
      rows_->push_back(RowId{e.data_page, e.data_row});
    }
    return Status::OK();
  }
  const IndexPage* inner = nullptr;
  JET_RETURN_IF_ERROR(InnerPage(page_number, &inner));
  // An entry carries its child's last key: a child whose last key is below
  // the range holds nothing in it.
  for (const IndexEntry& e : inner->entries) {
    if (!AtOrAboveLow(e.key, *low_)) continue;
    JET_RETURN_IF_ERROR(Visit(e.child_page, depth + 1, walk));
    if (*walk == Walk::kPastHigh) return Status::OK();
  }
  if (inner->tail_page != 0) return Visit(inner->tail_page, depth + 1, walk);
  return Status::OK();
}

}  // namespace jet
