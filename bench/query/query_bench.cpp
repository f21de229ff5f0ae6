// Query benchmark: every saved select, union and crosstab query of the given
// files, run on first use (its tables copied into SQLite) and again with the
// tables cached. Parameters get plain values of their type. Each query's
// first use starts from an empty cache, so its copying is all its own.
//   query_bench FILE...
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

#include "jet/query.h"

namespace {

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// CPU time of the process: the machine may be shared, so wall time alone
// can double under load.
double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return t.tv_sec + t.tv_nsec * 1e-9;
}

double PeakRssMb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

std::string SampleText(jet::ColumnType type) {
  switch (type) {
    case jet::ColumnType::kDateTime: return "1/1/1996";
    case jet::ColumnType::kText:
    case jet::ColumnType::kMemo: return "A";
    case jet::ColumnType::kBoolean: return "True";
    default: return "10250";
  }
}

bool Runnable(jet::QueryType t) {
  return t == jet::QueryType::kSelect || t == jet::QueryType::kUnion || t == jet::QueryType::kCrosstab;
}

void BenchFile(const std::string& file, double* worst_first, double* worst_cached) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (!jet::QueryEngine::ForFile(file, {}, &engine).ok()) return;
  std::vector<jet::SavedQuery> queries;
  engine->ListQueries(&queries);
  for (const auto& q : queries) {
    if (!Runnable(q.type) || q.name.rfind("~sq_", 0) == 0) continue;
    std::vector<jet::QueryParameterInfo> params;
    engine->QueryParameters(q.name, &params);
    std::vector<jet::Value> values;
    for (const auto& p : params) {
      jet::Value v;
      jet::ConvertParameterText(SampleText(p.type), p.type, &v);
      values.push_back(v);
    }
    engine->NoteCommit();  // first use: nothing cached, every table copied afresh
    const double copy_before = engine->copy_seconds();
    jet::QueryResult result;
    auto start = std::chrono::steady_clock::now();
    double cpu_start = CpuSeconds();
    jet::Status s = engine->RunQuery(q.name, values, &result);
    const double first = Seconds(start), first_cpu = CpuSeconds() - cpu_start;
    const double copied = engine->copy_seconds() - copy_before;
    start = std::chrono::steady_clock::now();
    cpu_start = CpuSeconds();
    engine->RunQuery(q.name, values, &result);
    const double cached = Seconds(start), cached_cpu = CpuSeconds() - cpu_start;
    std::printf("%-24s %-34.34s %5zu rows  first %6.1f ms (cpu %6.1f, copy %3.0f%%)  cached %5.1f ms (cpu %5.1f)%s\n",
                file.substr(file.find_last_of('/') + 1).c_str(), q.name.c_str(), result.rows.size(), first * 1e3,
                first_cpu * 1e3, first > 0 ? 100 * copied / first : 0.0, cached * 1e3, cached_cpu * 1e3,
                s.ok() ? "" : ("  ERROR " + s.message()).c_str());
    if (s.ok()) {
      *worst_first = std::max(*worst_first, first);
      *worst_cached = std::max(*worst_cached, cached);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  double worst_first = 0, worst_cached = 0;
  for (int i = 1; i < argc; ++i) BenchFile(argv[i], &worst_first, &worst_cached);
  std::printf("slowest first use %.1f ms, slowest cached %.1f ms, peak RSS %.1f MB\n", worst_first * 1e3,
              worst_cached * 1e3, PeakRssMb());
  return 0;
}
