#include "upsize_command.h"

#include <chrono>
#include <cstdio>

#include "jet/upsize.h"

namespace jetdump {

int Upsize(const std::string& file, const std::string& connect, const std::vector<std::string>& tables,
           bool drop_local, const std::vector<jet::OdbcMapping>& mappings) {
  jet::UpsizeOptions options;
  options.connect = connect;
  options.tables = tables;
  options.drop_local = drop_local;
  options.mappings = mappings;
  options.progress = [](const std::string& table, uint64_t rows) {
    std::fprintf(stderr, "%s: %llu rows\n", table.c_str(), static_cast<unsigned long long>(rows));
  };
  const auto start = std::chrono::steady_clock::now();
  std::vector<jet::UpsizedTable> moved;
  if (jet::Status s = jet::Upsize(file, options, &moved); !s.ok()) {
    std::fprintf(stderr, "jetdump: %s\n", s.message().c_str());
    return 1;
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  for (const jet::UpsizedTable& t : moved) {
    std::printf("%s\t%llu rows\tlinked%s\n", t.name.c_str(), static_cast<unsigned long long>(t.rows),
                drop_local ? "" : ("; local copy " + t.name + "_local").c_str());
  }
  std::fprintf(stderr, "moved %zu tables in %.1f s\n", moved.size(), seconds);
  return 0;
}

}  // namespace jetdump
