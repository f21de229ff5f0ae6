// An ODBC connection string as Access keeps it in a link's Connect
// ("ODBC;DRIVER={SQL Server};SERVER=...;PWD=..."): its attributes in order,
// with the driver or data source mapped to this machine's, and a form safe to
// show that hides the password.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jet/path_mapping.h"

namespace jet::odbc {

class ConnectString {
 public:
  // Reads `[ODBC;]KEY=VALUE;KEY={VALUE};...`. Keys keep their spelling;
  // lookups ignore case.
  static ConnectString Parse(const std::string& text);

  std::optional<std::string> Get(const std::string& key) const;
  void Set(const std::string& key, const std::string& value);
  void Remove(const std::string& key);

  // The driver's name without braces, or the data source's name.
  std::string Driver() const { return Get("DRIVER").value_or(""); }
  std::string DataSource() const { return Get("DSN").value_or(""); }

  // Replaces the driver or data source by the first mapping that names it,
  // and takes the mapping's own attributes over the link's.
  void ApplyMappings(const std::vector<OdbcMapping>& mappings);

  // For SQLDriverConnect: no "ODBC;" prefix.
  std::string ForDriver() const;
  // As Access keeps it: "ODBC;" then the attributes, without the password.
  std::string ForLink() const;
  // For messages: every password shown as "***".
  std::string Shown() const;

 private:
  std::string Join(bool hide_password, bool drop_password) const;
  std::vector<std::pair<std::string, std::string>> attributes_;
};

}  // namespace jet::odbc
