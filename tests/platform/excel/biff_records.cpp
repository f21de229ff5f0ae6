#include "biff_records.h"

#include <QFile>
#include <QtEndian>
#include <cstring>
#include <stdexcept>

namespace biff {
namespace {

constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFreeSector = 0xFFFFFFFF;
constexpr int kHeaderDifatEntries = 109;
constexpr int kDirectoryEntrySize = 128;
constexpr uint16_t kBof = 0x0809;
constexpr uint16_t kEof = 0x000A;
constexpr uint16_t kBoundSheet = 0x0085;

[[noreturn]] void Fail(const std::string& why) { throw std::runtime_error("not a BIFF8 workbook: " + why); }

uint32_t U32At(const QByteArray& bytes, qsizetype offset) {
  if (offset < 0 || offset + 4 > bytes.size()) Fail("read past the end");
  return qFromLittleEndian<uint32_t>(bytes.constData() + offset);
}

uint16_t U16At(const QByteArray& bytes, qsizetype offset) {
  if (offset < 0 || offset + 2 > bytes.size()) Fail("read past the end");
  return qFromLittleEndian<uint16_t>(bytes.constData() + offset);
}

// The compound file: sectors chained through the allocation table (FAT).
class CompoundFile {
 public:
  explicit CompoundFile(QByteArray bytes) : bytes_(std::move(bytes)) {
    if (!bytes_.startsWith(QByteArray::fromHex("D0CF11E0A1B11AE1"))) Fail("no compound file signature");
    sector_size_ = 1 << U16At(bytes_, 0x1E);
    ReadAllocationTable();
  }

  QByteArray Stream(const QString& name) const {
    const QByteArray directory = Chain(U32At(bytes_, 0x30), -1);
    for (qsizetype entry = 0; entry + kDirectoryEntrySize <= directory.size(); entry += kDirectoryEntrySize) {
      const int name_bytes = U16At(directory, entry + 0x40);
      if (name_bytes < 2) continue;
      const QString entry_name = QString::fromUtf16(
          reinterpret_cast<const char16_t*>(directory.constData() + entry), name_bytes / 2 - 1);
      if (entry_name != name) continue;
      const uint32_t size = U32At(directory, entry + 0x78);
      const uint32_t start = U32At(directory, entry + 0x74);
      // Streams under the cut-off size live in the root entry's mini stream.
      if (size < U32At(bytes_, 0x38)) return MiniChain(Chain(U32At(directory, 0x74), -1), start, size);
      return Chain(start, size);
    }
    Fail("no stream " + name.toStdString());
  }

 private:
  qsizetype SectorOffset(uint32_t sector) const { return qsizetype(sector + 1) * sector_size_; }

  void ReadAllocationTable() {
    QList<uint32_t> fat_sectors;
    for (int i = 0; i < kHeaderDifatEntries; ++i) fat_sectors << U32At(bytes_, 0x4C + 4 * i);
    const int per_sector = sector_size_ / 4;
    for (uint32_t difat = U32At(bytes_, 0x44); difat != kEndOfChain && difat != kFreeSector;) {
      for (int i = 0; i < per_sector - 1; ++i) fat_sectors << U32At(bytes_, SectorOffset(difat) + 4 * i);
      difat = U32At(bytes_, SectorOffset(difat) + 4 * (per_sector - 1));
    }
    for (const uint32_t sector : fat_sectors) {
      if (sector == kFreeSector) continue;
      for (int i = 0; i < per_sector; ++i) fat_.push_back(U32At(bytes_, SectorOffset(sector) + 4 * i));
    }
  }

  // The sectors of a chain joined; `size` < 0 keeps them whole.
  QByteArray Chain(uint32_t sector, qint64 size) const {
    QByteArray out;
    for (qsizetype steps = 0; sector != kEndOfChain; ++steps) {
      if (sector >= fat_.size() || steps > fat_.size()) Fail("broken sector chain");
      out += bytes_.mid(SectorOffset(sector), sector_size_);
      sector = fat_[sector];
    }
    if (size >= 0) {
      if (out.size() < size) Fail("stream shorter than its directory entry");
      out.truncate(size);
    }
    return out;
  }

  QByteArray MiniChain(const QByteArray& mini_stream, uint32_t sector, qint64 size) const {
    const int mini_size = 1 << U16At(bytes_, 0x20);
    const QByteArray mini_fat = Chain(U32At(bytes_, 0x3C), -1);
    QByteArray out;
    for (qsizetype steps = 0; sector != kEndOfChain; ++steps) {
      if (4 * qsizetype(sector) + 4 > mini_fat.size() || steps > mini_fat.size()) Fail("broken mini sector chain");
      out += mini_stream.mid(qsizetype(sector) * mini_size, mini_size);
      sector = U32At(mini_fat, 4 * qsizetype(sector));
    }
    if (out.size() < size) Fail("stream shorter than its directory entry");
    out.truncate(size);
    return out;
  }

  QByteArray bytes_;
  int sector_size_ = 512;
  QList<uint32_t> fat_;
};

// The records of one substream, from its BOF at `offset` to its EOF; a
// chart on a sheet is a substream within the sheet's, kept among its records.
QList<Record> ReadSubstream(const QByteArray& stream, qsizetype offset) {
  if (U16At(stream, offset) != kBof) Fail("substream does not start with BOF");
  QList<Record> records;
  int depth = 0;
  while (offset + 4 <= stream.size()) {
    Record record{U16At(stream, offset), {}};
    const uint16_t length = U16At(stream, offset + 2);
    record.data = stream.mid(offset + 4, length);
    offset += 4 + length;
    records << record;
    if (record.id == kBof) ++depth;
    if (record.id == kEof && --depth == 0) return records;
  }
  Fail("substream without EOF");
}

}  // namespace

uint16_t Record::U16(int offset) const { return U16At(data, offset); }
uint32_t Record::U32(int offset) const { return U32At(data, offset); }

double Record::F64(int offset) const {
  if (offset < 0 || offset + 8 > data.size()) Fail("read past the end");
  const quint64 bits = qFromLittleEndian<quint64>(data.constData() + offset);
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

QList<Record> Substream::All(uint16_t id) const {
  QList<Record> found;
  for (const Record& record : records)
    if (record.id == id) found << record;
  return found;
}

std::optional<Record> Substream::First(uint16_t id) const {
  for (const Record& record : records)
    if (record.id == id) return record;
  return std::nullopt;
}

const Substream& Workbook::Sheet(const QString& name) const {
  for (const Substream& sheet : sheets)
    if (sheet.name == name) return sheet;
  throw std::runtime_error("no sheet " + name.toStdString());
}

QString StringNoCount(const QByteArray& data, int offset, int count) {
  if (offset >= data.size()) Fail("string past the end");
  const bool wide = data[offset] & 1;
  const QByteArray chars = data.mid(offset + 1, wide ? 2 * count : count);
  if (chars.size() != (wide ? 2 * count : count)) Fail("string past the end");
  return wide ? QString::fromUtf16(reinterpret_cast<const char16_t*>(chars.constData()), count)
              : QString::fromLatin1(chars);
}

Workbook Read(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) Fail("cannot open " + path.toStdString());
  const CompoundFile compound(file.readAll());
  const QByteArray stream = compound.Stream(QStringLiteral("Workbook"));
  Workbook book;
  book.globals.records = ReadSubstream(stream, 0);
  for (const Record& sheet : book.globals.All(kBoundSheet)) {
    // Offset of the sheet's BOF, visibility, type, then the name: length,
    // flag byte, characters.
    const QString name = StringNoCount(sheet.data, 7, static_cast<uint8_t>(sheet.data.at(6)));
    book.sheets << Substream{name, ReadSubstream(stream, sheet.U32(0))};
  }
  return book;
}

}  // namespace biff
