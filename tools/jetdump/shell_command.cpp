#include "shell_command.h"

#include <cstdio>
#include <iostream>
#include <memory>

#include "jet/query.h"
#include "query_commands.h"

namespace jetdump {
namespace {

void PrintError(const jet::Status& s) { std::fprintf(stderr, "jetdump: %s\n", s.ToString().c_str()); }

// Writable when the file allows it, so that any line may change data; an
// open engine locks nothing until a change starts, so this costs readers
// nothing. Files that cannot be changed are still open for queries.
jet::Status OpenEngine(const std::string& file, const jet::OpenOptions& options,
                       std::shared_ptr<jet::QueryEngine>* engine) {
  jet::OpenOptions writable = options;
  writable.writable = true;
  jet::Status s = jet::QueryEngine::ForFile(file, writable, engine);
  if (s.code() != jet::Status::Code::kReadOnly) return s;
  return jet::QueryEngine::ForFile(file, options, engine);
}

bool IsBlank(const std::string& line) { return line.find_first_not_of(" \t") == std::string::npos; }

void RunLine(jet::QueryEngine& engine, const std::string& sql) {
  if (jet::Status s = RunStatement(engine, sql); !s.ok()) {
    PrintError(s);
  } else if (!jet::QueryEngine::ChangesData(sql)) {
    std::fputc('\n', stdout);  // ends a result, whose rows may be any number of lines
  }
  // Whoever drives the shell waits for each answer before sending the next line.
  std::fflush(stdout);
}

}  // namespace

int RunShell(const std::string& file, const jet::OpenOptions& options) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (jet::Status s = OpenEngine(file, options, &engine); !s.ok()) {
    PrintError(s);
    return 1;
  }
  std::string line;
  while (std::getline(std::cin, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!IsBlank(line)) RunLine(*engine, line);
  }
  return 0;
}

}  // namespace jetdump
