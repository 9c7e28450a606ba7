#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "foundation/control.h"

namespace vellix {

// A grid of text cells with fixed (heading) rows and columns at the top and
// left, a current cell (Row, Col), column widths, row heights and
// alignments. Rows and columns count from 0; widths are in twips.
//
// - Moving the current cell, by code or by the user, raises LeaveCell (the
//   old cell still current) and then EnterCell; setting the cell it is on
//   raises nothing. A user's click on a cell moves there and raises Click.
// - Row and Col take any cell, fixed ones included: another row raises 30009,
//   another column 30010 ("Invalid Row value", "Invalid Col value"), as does
//   reading Text while there is no current cell. TextMatrix, ColWidth,
//   RowHeight and ColAlignment outside the grid raise 381.
// - Rows and Cols keep the texts of the cells that stay; new cells are empty.
//   The current cell moves in when the grid shrinks past it, quietly. Rows
//   below FixedRows (Cols below FixedCols) raise 30009 (30010).
// - Clear empties every cell's text and alignment and keeps the shape.
class FlexGrid : public Control {
 public:
  // Alignments as the runtime numbers them.
  static constexpr int32_t kAlignLeftTop = 0;
  static constexpr int32_t kAlignLeftCenter = 1;
  static constexpr int32_t kAlignLeftBottom = 2;
  static constexpr int32_t kAlignCenterTop = 3;
  static constexpr int32_t kAlignCenterCenter = 4;
  static constexpr int32_t kAlignCenterBottom = 5;
  static constexpr int32_t kAlignRightTop = 6;
  static constexpr int32_t kAlignRightCenter = 7;
  static constexpr int32_t kAlignRightBottom = 8;
  static constexpr int32_t kAlignGeneral = 9;  // texts left, numbers right
  static constexpr int32_t kDefaultColWidth = 960;
  static constexpr int32_t kDefaultRowHeight = 240;

  FlexGrid(Form& form, std::string name, std::string container = {});

  [[nodiscard]] int32_t Rows() const { return rows_; }
  void Rows(int32_t value);
  [[nodiscard]] int32_t Cols() const { return cols_; }
  void Cols(int32_t value);
  [[nodiscard]] int32_t FixedRows() const { return fixedRows_; }
  void FixedRows(int32_t value);
  [[nodiscard]] int32_t FixedCols() const { return fixedCols_; }
  void FixedCols(int32_t value);

  // The current cell; -1 while the grid has no rows (columns).
  [[nodiscard]] int32_t Row() const { return row_; }
  void Row(int32_t value);
  [[nodiscard]] int32_t Col() const { return col_; }
  void Col(int32_t value);
  // The text of the current cell.
  [[nodiscard]] const std::string& Text() const;
  void Text(std::string value);
  [[nodiscard]] const std::string& TextMatrix(int32_t row, int32_t col) const;
  void TextMatrix(int32_t row, int32_t col, std::string value);

  [[nodiscard]] int32_t ColWidth(int32_t col) const;
  // -1 gives the default width back; below -1 raises 380.
  void ColWidth(int32_t col, int32_t width);
  [[nodiscard]] int32_t RowHeight(int32_t row) const;
  void RowHeight(int32_t row, int32_t height);
  [[nodiscard]] int32_t ColAlignment(int32_t col) const;
  // 0 to 9; any other value raises 380.
  void ColAlignment(int32_t col, int32_t alignment);
  // The alignment of the current cell: its own, or its column's.
  [[nodiscard]] int32_t CellAlignment() const;
  void CellAlignment(int32_t alignment);
  // The alignment of any cell, for views.
  [[nodiscard]] int32_t CellAlignmentAt(int32_t row, int32_t col) const;

  // The current cell's rectangle in twips within the grid (no scrolling).
  [[nodiscard]] int32_t CellLeft() const;
  [[nodiscard]] int32_t CellTop() const;
  [[nodiscard]] int32_t CellWidth() const;
  [[nodiscard]] int32_t CellHeight() const;
  // The cell under the pointer at its last move; -1 past the last row or
  // column, or before any move.
  [[nodiscard]] int32_t MouseRow() const { return mouseRow_; }
  [[nodiscard]] int32_t MouseCol() const { return mouseCol_; }

  void Clear();

  // The cell whose text changed last. A change of one cell's text is told as
  // "CellText", so a view can redraw that cell alone; Clear tells
  // "TextMatrix", for all of them.
  [[nodiscard]] int32_t ChangedRow() const { return changedRow_; }
  [[nodiscard]] int32_t ChangedCol() const { return changedCol_; }

  std::function<void()> EnterCell;
  std::function<void()> LeaveCell;

  bool UserClickCell(int32_t row, int32_t col);
  bool UserMouseMove(double x, double y, int16_t button = 0, int16_t shift = 0) override;

 protected:
  [[nodiscard]] bool CanFocus() const override { return true; }
  void ResetProperties() override;

 private:
  struct Cell {
    std::string text;
    int32_t alignment = -1;  // -1: the column's
  };

  void Reshape(int32_t rows, int32_t cols);
  void MoveTo(int32_t row, int32_t col);
  [[nodiscard]] Cell& At(int32_t row, int32_t col);
  [[nodiscard]] const Cell& At(int32_t row, int32_t col) const;
  void CheckCell(int32_t row, int32_t col) const;

  int32_t rows_ = 2;
  int32_t cols_ = 2;
  int32_t fixedRows_ = 1;
  int32_t fixedCols_ = 1;
  int32_t row_ = 1;
  int32_t col_ = 1;
  int32_t mouseRow_ = -1;
  int32_t mouseCol_ = -1;
  int32_t changedRow_ = -1;
  int32_t changedCol_ = -1;
  std::vector<Cell> cells_;  // row by row
  std::vector<int32_t> colWidths_;
  std::vector<int32_t> rowHeights_;
  std::vector<int32_t> colAlignments_;
};

}  // namespace vellix
