// AppError: VB's Err object as an exception: number, source, description.
#pragma once

#include <QString>
#include <exception>
#include <string>

namespace platform {

// The automation object-error base (hexadecimal 80040000).
constexpr int kObjectErrorBase = static_cast<int>(0x80040000u);

class AppError : public std::exception {
 public:
  AppError(int number, QString description, QString source = QString())
      : number_(number), description_(std::move(description)), source_(std::move(source)),
        what_(description_.toStdString()) {}

  int Number() const { return number_; }
  const QString& Description() const { return description_; }
  const QString& Source() const { return source_; }
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  int number_;
  QString description_;
  QString source_;
  std::string what_;
};

}  // namespace platform
