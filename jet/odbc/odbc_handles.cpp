#include "odbc/odbc_handles.h"

#include <strings.h>

#include "odbc/server_values.h"
#include "jet/text_form.h"
#include "storage/text_codec.h"

namespace jet::odbc {
namespace {

SQLHENV Environment() {
  static SQLHENV env = []() -> SQLHENV {
    SQLHENV e = SQL_NULL_HENV;
    if (!Succeeded(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &e))) return SQL_NULL_HENV;
    SQLSetEnvAttr(e, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    return e;
  }();
  return env;
}

SQLWCHAR* Wide(std::u16string& s) { return reinterpret_cast<SQLWCHAR*>(s.data()); }

}  // namespace

std::string ToUtf8(const SQLWCHAR* text, size_t units) {
  std::string out;
  AppendUtf16AsUtf8(reinterpret_cast<const uint8_t*>(text), units * 2, &out);
  return out;
}

std::string DataSourceDriver(const std::string& dsn) {
  SQLHENV env = Environment();
  SQLCHAR name[SQL_MAX_DSN_LENGTH + 1], driver[256];
  SQLSMALLINT name_length = 0, driver_length = 0;
  for (SQLUSMALLINT direction = SQL_FETCH_FIRST;
       env != SQL_NULL_HENV && Succeeded(SQLDataSources(env, direction, name, sizeof name, &name_length, driver,
                                                        sizeof driver, &driver_length));
       direction = SQL_FETCH_NEXT) {
    if (strcasecmp(reinterpret_cast<const char*>(name), dsn.c_str()) == 0) return reinterpret_cast<const char*>(driver);
  }
  return "";
}

std::string Diagnostics(SQLSMALLINT handle_type, SQLHANDLE handle) {
  std::string out;
  for (SQLSMALLINT record = 1;; ++record) {
    SQLWCHAR state[6] = {}, text[1024] = {};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    if (!Succeeded(SQLGetDiagRecW(handle_type, handle, record, state, &native, text, 1024, &length))) break;
    std::string message = ToUtf8(text, std::min<size_t>(length, 1023));
    if (!out.empty()) out += ' ';
    out += message;
  }
  return out;
}

Status Connection::Open(const std::string& connect, std::unique_ptr<Connection>* out) {
  SQLHENV env = Environment();
  if (env == SQL_NULL_HENV) return Status::IOError("The ODBC driver manager cannot be started.");
  std::unique_ptr<Connection> c(new Connection);
  if (!Succeeded(SQLAllocHandle(SQL_HANDLE_DBC, env, &c->dbc_))) {
    return Status::IOError("The ODBC driver manager cannot make a connection: " + Diagnostics(SQL_HANDLE_ENV, env));
  }
  SQLSetConnectAttr(c->dbc_, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);
  std::u16string text = Utf8ToUtf16(connect);
  SQLSMALLINT made = 0;
  SQLRETURN rc = SQLDriverConnectW(c->dbc_, nullptr, Wide(text), static_cast<SQLSMALLINT>(text.size()), nullptr, 0,
                                   &made, SQL_DRIVER_NOPROMPT);
  if (!Succeeded(rc)) return Status::IOError(Diagnostics(SQL_HANDLE_DBC, c->dbc_));
  SQLWCHAR quote[4] = {};
  SQLSMALLINT length = 0;
  if (Succeeded(SQLGetInfoW(c->dbc_, SQL_IDENTIFIER_QUOTE_CHAR, quote, sizeof quote, &length)) && quote[0] < 0x80)
    c->quote_ = static_cast<char>(quote[0]);
  SQLWCHAR name[128] = {};
  if (Succeeded(SQLGetInfoW(c->dbc_, SQL_DBMS_NAME, name, sizeof name, &length)))
    c->server_name_ = ToUtf8(name, std::min<size_t>(static_cast<size_t>(length) / sizeof(SQLWCHAR), 127));
  *out = std::move(c);
  return Status::OK();
}

Connection::~Connection() {
  if (dbc_ == SQL_NULL_HDBC) return;
  SQLDisconnect(dbc_);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc_);
}

std::string Connection::QuoteIdentifier(const std::string& name) const {
  if (quote_ == ' ' || quote_ == 0) return name;
  std::string out(1, quote_);
  for (char c : name) {
    if (c == quote_) out += quote_;
    out += c;
  }
  return out + quote_;
}

std::string Connection::QuoteName(const std::string& name) const {
  std::string out;
  for (size_t start = 0;;) {
    const size_t dot = name.find('.', start);
    if (!out.empty()) out += '.';
    out += QuoteIdentifier(name.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (dot == std::string::npos) return out;
    start = dot + 1;
  }
}

Status Connection::SetAutoCommit(bool on) {
  const auto value = reinterpret_cast<SQLPOINTER>(static_cast<uintptr_t>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF));
  SQLRETURN rc = SQLSetConnectAttrW(dbc_, SQL_ATTR_AUTOCOMMIT, value, 0);
  return Succeeded(rc) ? Status::OK() : Failed(rc, "setting the server's transaction mode");
}

Status Connection::EndTransaction(bool commit) {
  SQLRETURN rc = SQLEndTran(SQL_HANDLE_DBC, dbc_, commit ? SQL_COMMIT : SQL_ROLLBACK);
  return Succeeded(rc) ? Status::OK() : Failed(rc, commit ? "committing on the server" : "rolling back on the server");
}

Status Connection::Failed(SQLRETURN, const std::string& what) const {
  return Status::IOError(what + ": " + Diagnostics(SQL_HANDLE_DBC, dbc_));
}

Status Statement::Make(Connection& connection, std::unique_ptr<Statement>* out) {
  std::unique_ptr<Statement> s(new Statement());
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_STMT, connection.handle(), &s->stmt_);
  if (!Succeeded(rc)) return connection.Failed(rc, "making a statement");
  *out = std::move(s);
  return Status::OK();
}

Statement::~Statement() {
  if (stmt_ != SQL_NULL_HSTMT) SQLFreeHandle(SQL_HANDLE_STMT, stmt_);
}

Status Statement::Failed(SQLRETURN, const std::string& what) const {
  return Status::IOError(what + ": " + Diagnostics(SQL_HANDLE_STMT, stmt_));
}

Status Statement::Bind(const std::vector<Value>& parameters) {
  bound_.assign(parameters.size(), Bound{});
  for (size_t i = 0; i < parameters.size(); ++i) {
    Bound& b = bound_[i];
    const Value& v = parameters[i];
    const auto n = static_cast<SQLUSMALLINT>(i + 1);
    SQLRETURN rc;
    if (v.is_null()) {
      b.indicator = SQL_NULL_DATA;
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_CHAR, SQL_VARCHAR, 1, 0, nullptr, 0, &b.indicator);
    } else if (const auto* d = v.get_if<DateTime>()) {
      b.timestamp = TimestampFromSerial(d->serial);
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 26, 6, &b.timestamp,
                            0, nullptr);
    } else if (v.get_if<int64_t>() || v.get_if<bool>()) {
      b.integer = v.get_if<bool>() ? (*v.get_if<bool>() ? 1 : 0) : *v.get_if<int64_t>();
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_SBIGINT, v.get_if<bool>() ? SQL_BIT : SQL_BIGINT, 19, 0,
                            &b.integer, 0, nullptr);
    } else if (v.get_if<double>() || v.get_if<float>()) {
      b.real = v.get_if<double>() ? *v.get_if<double>() : *v.get_if<float>();
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_DOUBLE, SQL_DOUBLE, 15, 0, &b.real, 0, nullptr);
    } else if (const auto* bytes = v.get_if<Bytes>()) {
      b.bytes = *bytes;
      b.indicator = static_cast<SQLLEN>(b.bytes.size());
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_BINARY, SQL_LONGVARBINARY, b.bytes.size(), 0,
                            b.bytes.data(), b.indicator, &b.indicator);
    } else {
      // Text, and Decimal and Currency in their exact decimal text.
      b.text = Utf8ToUtf16(v.get_if<std::string>() ? *v.get_if<std::string>() : CanonicalText(v));
      b.indicator = static_cast<SQLLEN>(b.text.size() * 2);
      const SQLSMALLINT type = v.get_if<std::string>() ? SQL_WLONGVARCHAR : SQL_NUMERIC;
      rc = SQLBindParameter(stmt_, n, SQL_PARAM_INPUT, SQL_C_WCHAR, type, std::max<size_t>(b.text.size(), 1), 0,
                            Wide(b.text), b.indicator, &b.indicator);
    }
    if (!Succeeded(rc)) return Failed(rc, "passing a value to the server");
  }
  return Status::OK();
}

Status Statement::Execute(const std::string& sql, const std::vector<Value>& parameters) {
  SQLFreeStmt(stmt_, SQL_CLOSE);
  SQLFreeStmt(stmt_, SQL_RESET_PARAMS);
  JET_RETURN_IF_ERROR(Bind(parameters));
  std::u16string text = Utf8ToUtf16(sql);
  SQLRETURN rc = SQLExecDirectW(stmt_, Wide(text), static_cast<SQLINTEGER>(text.size()));
  if (rc == SQL_NO_DATA) return Status::OK();  // a change that touched no row
  return Succeeded(rc) ? Status::OK() : Failed(rc, "the server refused " + sql);
}

}  // namespace jet::odbc
