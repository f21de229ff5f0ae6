// Small helpers for UNO values: strings (both sides UTF-16), sequences, properties.
#pragma once

#include <QString>
#include <rtl/ustring.hxx>

namespace excel {

inline rtl::OUString ToOUString(const QString& text) {
  return rtl::OUString(reinterpret_cast<const sal_Unicode*>(text.utf16()), text.size());
}

inline QString ToQString(const rtl::OUString& text) {
  return QString(reinterpret_cast<const QChar*>(text.getStr()), text.getLength());
}

}  // namespace excel

#include <com/sun/star/uno/Sequence.hxx>
#include <initializer_list>

namespace excel {

// The office's public headers have no initializer-list constructor for Sequence.
template <class T>
com::sun::star::uno::Sequence<T> SequenceOf(std::initializer_list<T> items) {
  return com::sun::star::uno::Sequence<T>(items.begin(), static_cast<sal_Int32>(items.size()));
}

}  // namespace excel

#include <com/sun/star/beans/PropertyValue.hpp>

namespace excel {

inline com::sun::star::beans::PropertyValue Property(const char* name, com::sun::star::uno::Any value) {
  com::sun::star::beans::PropertyValue p;
  p.Name = rtl::OUString::createFromAscii(name);
  p.Value = std::move(value);
  return p;
}

}  // namespace excel
