#include "platform/excel/macro_source.h"
#include "platform/excel/macro_translation_rules.h"

namespace excel {

const std::vector<MacroSourceRule>& MacroTranslations() {
  static const std::vector<MacroSourceRule> rules = {
      {"each On Error replaces the error handling before it", OnErrorStartsAfresh},
      {"Application.PrintCommunication does nothing", DropPrintCommunication},
      {"page settings the office lacks, at Excel's defaults, do nothing", DropPageSetupDefaults},
      {"Debug.Print prints nowhere but works out its items", DebugPrintWorksOutItsItems},
      {"Range.Value2 is Range.Value where that comes out the same", Value2AsValue},
      {"a VLookup of a missing key fails as in Excel", VLookupMissesAsInExcel},
      {"SpecialCells(xlCellTypeLastCell) is the used range's last cell", LastCellFromUsedRange},
      {"the Worksheet.Sort block is one Range.Sort", SortObjectToRangeSort},
      {"PageSetup.PrintTitleRows are the rows printed on every page", PrintTitleRowsSet},
      {"&P, &N and the other header and footer codes are the page's fields", HeaderFooterCodesAsFields},
      {"a sheet copied within the workbook is named \"Data (2)\"", SheetCopiesNamedAsExcelNamesThem},
      {"Shapes.AddChart2, AddChart, Charts.Add and ChartObjects.Add with SetSourceData are the office's chart of that type",
       ChartsAsTheOfficesOwn},
      {"FormatConditions.Add with its font and fill is the office's conditional format",
       FormatConditionsAsConditionalFormats},
      {"Range(\"C5\", Cells(n, 3)) takes both corners on the active sheet", RangeCornersAsRanges},
      {"a continuous border without a line is drawn thin, and a medium one medium", BordersDrawnAsExcelDrawsThem},
      {"Font.ThemeColor = xlThemeColorLight1 is black", FontTextColorAsBlack},
      {"Font.TintAndShade = 0 does nothing", DropFontTintAndShadeZero},
      {"Font.ThemeFont of the font's own name does nothing", DropFontThemeFontOfItsName},
      {"Font.Superscript/Subscript = False does nothing", DropFontScriptOff},
  };
  return rules;
}

}  // namespace excel
