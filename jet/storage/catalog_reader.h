// Reads MSysObjects (always defined at page 2) into catalogue entries and the
// property blobs of tables and queries.
#pragma once

#include <map>
#include <vector>

#include "jet/catalog.h"
#include "storage/properties.h"
#include "storage/table_layout.h"

namespace jet {

constexpr uint32_t kCatalogTdefPage = 2;

struct CatalogContents {
  std::vector<CatalogEntry> entries;
  // Properties of table, link and query entries, by catalogue id.
  std::map<int32_t, ObjectProperties> properties;
};

Status ReadCatalog(const Pager& pager, const TextReader& text, CatalogContents* out);

}  // namespace jet
