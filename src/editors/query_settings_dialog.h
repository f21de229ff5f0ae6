// What the query destination and query parameters editors share: the user
// queries listed on the left with the one being edited highlighted, its
// author, the editor's own fields on the right, and OK and Cancel. Changes
// are kept in the window until they are saved; moving to another query
// asks first.
#pragma once

#include <QDialog>
#include <QString>
#include <cstdint>
#include <functional>

class QLabel;
class QLayout;
class QListWidget;
class QPushButton;
class QWidget;

namespace editors {

class FlexGrid;

class QuerySettingsDialog : public QDialog {
  Q_OBJECT

 public:
  QListWidget* lstUserQueries = nullptr;
  QLabel* lblAuthor = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;

  // The query whose settings are shown (0 when none) and whether they were
  // changed since they were read or saved.
  std::int32_t shownQueryId = 0;
  bool changed = false;

  // Highlights the query with `queryId` in the list without the list's
  // click handling; false when the list does not hold it.
  bool HighlightQuery(std::int32_t queryId);
  // The list's name for a query key, empty when it lists no such query.
  QString QueryName(std::int32_t queryId) const;
  QString ShownQueryName() const { return QueryName(shownQueryId); }
  // The stored author of the shown query.
  void ShowAuthor(const QString& author);

  // Lets a person type into `grid` key by key (CFlexGrid's free text), Esc
  // putting back what the cell held when it was entered; a key that changes
  // a cell marks the settings changed.
  void EditByKeys(FlexGrid& grid);

  // Whether the person is going through the query list with the keys (the
  // last thing it got was a key rather than a click).
  bool BrowsingListByKeys() const;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  QuerySettingsDialog(const QString& title, QWidget* parent);
  // Puts the editor's own fields right of the list and sets the tab order
  // list, fields, OK, Cancel (`first` and `last` the fields' ends).
  void SetFields(QLayout* fields, QWidget* first, QWidget* last);

 private:
  QString restoreText_;
  bool listByKeys_ = false;
};

// The list's click: the chosen query shown by `show` once the shown one may
// be left, after asking to save changed settings (Yes runs `save`, which
// answers whether it saved). Otherwise the shown query stays highlighted.
void ShowChosenQuery(QuerySettingsDialog& form, const std::function<bool()>& save,
                     const std::function<bool(std::int32_t queryId)>& show);

// A value the run could not use: the message box naming the problem, under
// the editor's title, and the field given the focus.
void RefuseValue(QuerySettingsDialog& form, QWidget& field, const QString& problem);
// The same for the value in `row` of a grid's data column: the cell made
// current and marked red (255), left unselected so that the red shows.
void RefuseCell(QuerySettingsDialog& form, FlexGrid& grid, int row, const QString& problem);

}  // namespace editors
