// The rules of the MacroTranslations table, one function each: Excel 2007+
// recorder idioms the office lacks, rewritten into what it runs with the same
// effect. Each keeps the module's lines where they were.
#pragma once

#include <QString>

namespace excel {

// Page setup batching only speeds Excel's printer driver up.
QString DropPrintCommunication(const QString& source);
// Each On Error replaces the handling before it, as in Excel.
QString OnErrorStartsAfresh(const QString& source);
// The Immediate window exists only in Excel's editor.
QString DebugPrintWorksOutItsItems(const QString& source);
QString Value2AsValue(const QString& source);
// A VLookup miss raises 1004 (WorksheetFunction) or gives #N/A (Application).
QString VLookupMissesAsInExcel(const QString& source);
QString LastCellFromUsedRange(const QString& source);
QString SortObjectToRangeSort(const QString& source);
QString RangeCornersAsRanges(const QString& source);
// LineStyle = xlContinuous and Weight = xlMedium, on an edge or every edge.
QString BordersDrawnAsExcelDrawsThem(const QString& source);
// PrintTitleRows as the sheet's own title rows.
QString PrintTitleRowsSet(const QString& source);
// Header and footer codes &P, &N, &D, &T, &F, &A as the office's fields.
QString HeaderFooterCodesAsFields(const QString& source);
// Sheet.Copy Before/After: the copy named "Data (2)", as Excel names it.
QString SheetCopiesNamedAsExcelNamesThem(const QString& source);
// Shapes.AddChart2, AddChart, Charts.Add and ChartObjects.Add with SetSourceData as the office's own chart.
QString ChartsAsTheOfficesOwn(const QString& source);
// FormatConditions.Add, with its font and fill, as the office's own conditional format.
QString FormatConditionsAsConditionalFormats(const QString& source);
// The recorder's page settings the office lacks, where they are Excel's defaults.
QString DropPageSetupDefaults(const QString& source);

// A font's properties, in the recorder's With ... .Font block or one by one.
QString FontTextColorAsBlack(const QString& source);
QString DropFontTintAndShadeZero(const QString& source);
QString DropFontThemeFontOfItsName(const QString& source);
QString DropFontScriptOff(const QString& source);

}  // namespace excel
