#include "foundation/flex_grid.h"

#include <algorithm>
#include <utility>

namespace vellix {

namespace {

bool ValidAlignment(int32_t value) {
  return value >= FlexGrid::kAlignLeftTop && value <= FlexGrid::kAlignGeneral;
}

}  // namespace

FlexGrid::FlexGrid(Form& form, std::string name, std::string container)
    : Control(form, ControlKind::FlexGrid, std::move(name), std::move(container)) {
  ResetProperties();
}

void FlexGrid::Rows(int32_t value) {
  if (value < fixedRows_) RaiseControlError(ctlerr::kInvalidRow);
  if (value == rows_) return;
  Reshape(value, cols_);
  Changed("Rows");
}

void FlexGrid::Cols(int32_t value) {
  if (value < fixedCols_) RaiseControlError(ctlerr::kInvalidCol);
  if (value == cols_) return;
  Reshape(rows_, value);
  Changed("Cols");
}

void FlexGrid::FixedRows(int32_t value) {
  if (value < 0 || value > rows_) RaiseControlError(ctlerr::kInvalidRow);
  if (SetProperty(fixedRows_, value)) Changed("FixedRows");
}

void FlexGrid::FixedCols(int32_t value) {
  if (value < 0 || value > cols_) RaiseControlError(ctlerr::kInvalidCol);
  if (SetProperty(fixedCols_, value)) Changed("FixedCols");
}

void FlexGrid::Row(int32_t value) {
  if (value < 0 || value >= rows_) RaiseControlError(ctlerr::kInvalidRow);
  MoveTo(value, col_);
}

void FlexGrid::Col(int32_t value) {
  if (value < 0 || value >= cols_) RaiseControlError(ctlerr::kInvalidCol);
  MoveTo(row_, value);
}

const std::string& FlexGrid::Text() const {
  if (row_ < 0) RaiseControlError(ctlerr::kInvalidRow);
  if (col_ < 0) RaiseControlError(ctlerr::kInvalidCol);
  return At(row_, col_).text;
}

void FlexGrid::Text(std::string value) {
  if (row_ < 0) RaiseControlError(ctlerr::kInvalidRow);
  if (col_ < 0) RaiseControlError(ctlerr::kInvalidCol);
  TextMatrix(row_, col_, std::move(value));
}

const std::string& FlexGrid::TextMatrix(int32_t row, int32_t col) const {
  CheckCell(row, col);
  return At(row, col).text;
}

void FlexGrid::TextMatrix(int32_t row, int32_t col, std::string value) {
  CheckCell(row, col);
  auto& text = At(row, col).text;
  if (!SetProperty(text, std::move(value))) return;
  changedRow_ = row;
  changedCol_ = col;
  Changed("CellText");
}

int32_t FlexGrid::ColWidth(int32_t col) const {
  if (col < 0 || col >= cols_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  return colWidths_[static_cast<size_t>(col)];
}

void FlexGrid::ColWidth(int32_t col, int32_t width) {
  if (col < 0 || col >= cols_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  if (width < -1) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (width == -1) width = kDefaultColWidth;
  auto& w = colWidths_[static_cast<size_t>(col)];
  if (SetProperty(w, width)) Changed("ColWidth");
}

int32_t FlexGrid::RowHeight(int32_t row) const {
  if (row < 0 || row >= rows_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  return rowHeights_[static_cast<size_t>(row)];
}

void FlexGrid::RowHeight(int32_t row, int32_t height) {
  if (row < 0 || row >= rows_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  if (height < -1) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (height == -1) height = kDefaultRowHeight;
  auto& h = rowHeights_[static_cast<size_t>(row)];
  if (SetProperty(h, height)) Changed("RowHeight");
}

int32_t FlexGrid::ColAlignment(int32_t col) const {
  if (col < 0 || col >= cols_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  return colAlignments_[static_cast<size_t>(col)];
}

void FlexGrid::ColAlignment(int32_t col, int32_t alignment) {
  if (col < 0 || col >= cols_) RaiseControlError(ctlerr::kInvalidPropertyIndex);
  if (!ValidAlignment(alignment)) RaiseControlError(ctlerr::kInvalidPropertyValue);
  auto& a = colAlignments_[static_cast<size_t>(col)];
  if (SetProperty(a, alignment)) Changed("ColAlignment");
}

int32_t FlexGrid::CellAlignment() const {
  return CellAlignmentAt(row_, col_);
}

void FlexGrid::CellAlignment(int32_t alignment) {
  if (!ValidAlignment(alignment)) RaiseControlError(ctlerr::kInvalidPropertyValue);
  if (row_ < 0) RaiseControlError(ctlerr::kInvalidRow);
  if (col_ < 0) RaiseControlError(ctlerr::kInvalidCol);
  auto& a = At(row_, col_).alignment;
  if (SetProperty(a, alignment)) Changed("CellAlignment");
}

int32_t FlexGrid::CellAlignmentAt(int32_t row, int32_t col) const {
  CheckCell(row, col);
  const int32_t own = At(row, col).alignment;
  return own >= 0 ? own : colAlignments_[static_cast<size_t>(col)];
}

int32_t FlexGrid::CellLeft() const {
  int32_t left = 0;
  for (int32_t c = 0; c < col_; ++c)
    left += colWidths_[static_cast<size_t>(c)];
  return left;
}

int32_t FlexGrid::CellTop() const {
  int32_t top = 0;
  for (int32_t r = 0; r < row_; ++r)
    top += rowHeights_[static_cast<size_t>(r)];
  return top;
}

int32_t FlexGrid::CellWidth() const {
  return col_ >= 0 ? colWidths_[static_cast<size_t>(col_)] : 0;
}

int32_t FlexGrid::CellHeight() const {
  return row_ >= 0 ? rowHeights_[static_cast<size_t>(row_)] : 0;
}

void FlexGrid::Clear() {
  for (auto& cell : cells_)
    cell = Cell{};
  Changed("TextMatrix");
}

bool FlexGrid::UserClickCell(int32_t row, int32_t col) {
  if (row < 0 || row >= rows_ || col < 0 || col >= cols_ || !BeginUserAction()) return false;
  MoveTo(row, col);
  Fire(Click);
  return true;
}

bool FlexGrid::UserMouseMove(double x, double y, int16_t button, int16_t shift) {
  if (!Reachable()) return false;
  auto locate = [](double at, const std::vector<int32_t>& sizes) {
    double edge = 0;
    for (size_t i = 0; i < sizes.size(); ++i) {
      edge += sizes[i];
      if (at >= 0 && at < edge) return static_cast<int32_t>(i);
    }
    return int32_t{-1};
  };
  mouseCol_ = locate(x, colWidths_);
  mouseRow_ = locate(y, rowHeights_);
  Fire(MouseMove, button, shift, x, y);
  return true;
}

void FlexGrid::ResetProperties() {
  rows_ = 0;
  cols_ = 0;
  cells_.clear();
  colWidths_.clear();
  rowHeights_.clear();
  colAlignments_.clear();
  Reshape(2, 2);
  fixedRows_ = 1;
  fixedCols_ = 1;
  row_ = 1;
  col_ = 1;
  mouseRow_ = -1;
  mouseCol_ = -1;
  changedRow_ = -1;
  changedCol_ = -1;
}

void FlexGrid::Reshape(int32_t rows, int32_t cols) {
  std::vector<Cell> cells(static_cast<size_t>(rows) * static_cast<size_t>(cols));
  for (int32_t r = 0; r < std::min(rows, rows_); ++r) {
    for (int32_t c = 0; c < std::min(cols, cols_); ++c) {
      cells[static_cast<size_t>(r) * static_cast<size_t>(cols) + static_cast<size_t>(c)] =
          std::move(At(r, c));
    }
  }
  cells_ = std::move(cells);
  rows_ = rows;
  cols_ = cols;
  colWidths_.resize(static_cast<size_t>(cols), kDefaultColWidth);
  colAlignments_.resize(static_cast<size_t>(cols), kAlignGeneral);
  rowHeights_.resize(static_cast<size_t>(rows), kDefaultRowHeight);
  const int32_t row = std::clamp(row_ < 0 ? fixedRows_ : row_, -1, rows - 1);
  const int32_t col = std::clamp(col_ < 0 ? fixedCols_ : col_, -1, cols - 1);
  if (row != row_ || col != col_) {
    row_ = row;
    col_ = col;
    Changed("Cell");
  }
}

void FlexGrid::MoveTo(int32_t row, int32_t col) {
  if (row == row_ && col == col_) return;
  Fire(LeaveCell);
  row_ = row;
  col_ = col;
  Changed("Cell");
  Fire(EnterCell);
}

FlexGrid::Cell& FlexGrid::At(int32_t row, int32_t col) {
  return cells_[static_cast<size_t>(row) * static_cast<size_t>(cols_) + static_cast<size_t>(col)];
}

const FlexGrid::Cell& FlexGrid::At(int32_t row, int32_t col) const {
  return cells_[static_cast<size_t>(row) * static_cast<size_t>(cols_) + static_cast<size_t>(col)];
}

void FlexGrid::CheckCell(int32_t row, int32_t col) const {
  if (row < 0 || row >= rows_ || col < 0 || col >= cols_) {
    RaiseControlError(ctlerr::kInvalidPropertyIndex);
  }
}

}  // namespace vellix
