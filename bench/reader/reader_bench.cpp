// Reader benchmark.
//   reader_bench open-list FILE        open the file and list its tables
//   reader_bench scan FILE TABLE [N]   decode every row of TABLE N times
// Prints wall time and the process's peak resident set size.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "jet/database.h"
#include "jet/text_form.h"

namespace {

double Millis(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

long PeakRssKb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

int OpenList(const std::string& file) {
  auto start = std::chrono::steady_clock::now();
  std::unique_ptr<jet::Database> db;
  if (auto s = jet::Database::Open(file, {}, &db); !s.ok()) {
    std::fprintf(stderr, "%s\n", s.ToString().c_str());
    return 1;
  }
  int tables = 0;
  for (const auto& e : db->catalog()) tables += e.kind == jet::ObjectKind::kTable && !e.system;
  std::printf("open+list %s: %d tables in %.2f ms, peak RSS %.1f MB\n", file.c_str(), tables, Millis(start),
              PeakRssKb() / 1024.0);
  return 0;
}

int Scan(const std::string& file, const std::string& table, int repeats) {
  std::unique_ptr<jet::Database> db;
  if (auto s = jet::Database::Open(file, {}, &db); !s.ok()) return 1;
  long rows = 0;
  size_t text_bytes = 0;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < repeats; ++i) {
    std::unique_ptr<jet::TableCursor> cursor;
    if (auto s = db->OpenTable(table, &cursor); !s.ok()) return 1;
    std::string csv;
    while (cursor->Next()) {
      jet::AppendCsvRecord(&csv, cursor->row());  // decode and format, as an export does
      ++rows;
      if (csv.size() > (1 << 20)) {
        text_bytes += csv.size();
        csv.clear();
      }
    }
    text_bytes += csv.size();
  }
  const double ms = Millis(start);
  std::printf("scan %s: %ld rows (%zu bytes of CSV) in %.1f ms = %.0f rows/s, peak RSS %.1f MB\n", table.c_str(),
              rows, text_bytes, ms, rows / (ms / 1000.0), PeakRssKb() / 1024.0);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 3 && std::string(argv[1]) == "open-list") return OpenList(argv[2]);
  if (argc >= 4 && std::string(argv[1]) == "scan") return Scan(argv[2], argv[3], argc > 4 ? std::stoi(argv[4]) : 1);
  std::fprintf(stderr, "usage: reader_bench open-list FILE | scan FILE TABLE [REPEATS]\n");
  return 2;
}
