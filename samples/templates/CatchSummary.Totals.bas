' Adds a "Total" row under the block at A4 of the Catch sheet: a SUM formula
' under every column whose first value is a number (dates and text are left).
Sub AddTotals()
    Dim sheet As Worksheet
    Set sheet = ThisWorkbook.Worksheets("Catch")
    Dim block As Range
    Set block = sheet.Range("A4").CurrentRegion
    Dim totalRow As Long
    totalRow = block.Row + block.Rows.Count
    sheet.Cells(totalRow, block.Column).Value = "Total"
    Dim col As Long
    Dim first As Variant
    For col = block.Column + 1 To block.Column + block.Columns.Count - 1
        first = sheet.Cells(block.Row + 1, col).Value
        If VarType(first) = vbDouble Then
            sheet.Cells(totalRow, col).Formula = "=SUM(" & _
                sheet.Range(sheet.Cells(block.Row + 1, col), sheet.Cells(totalRow - 1, col)).Address(False, False) & ")"
        End If
    Next col
    sheet.Rows(totalRow).Font.Bold = True
End Sub
