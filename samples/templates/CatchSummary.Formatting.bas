' Formats the block the export placed at A4 of the Catch sheet: a bold,
' shaded header row and columns as wide as their contents.
Sub FormatCatchBlock()
    Dim sheet As Worksheet
    Set sheet = ThisWorkbook.Worksheets("Catch")
    Dim block As Range
    Set block = sheet.Range("A4").CurrentRegion
    block.Rows(1).Font.Bold = True
    block.Rows(1).Interior.ColorIndex = 15
    block.Columns.AutoFit
End Sub
