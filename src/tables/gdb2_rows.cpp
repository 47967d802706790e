// Rows and cells of the typed table.

#include <ostream>
#include <utility>

#include "base/missing.h"
#include "base/streams.h"
#include "tables/gdb2.h"

namespace {

// The value behind a caller's pointer as a cell of `type`.
LineNode::Val fromPointer(int type, const void* value) {
    switch (type) {
        case 0:
            return LineNode::Val(*static_cast<const int*>(value));
        case 1:
            return LineNode::Val(*static_cast<const float*>(value));
        default:
            return LineNode::Val(*static_cast<const std::string*>(value));
    }
}

// One condition of a search: a column and the value that its cell must have. A column that doesn't
// exist and a null value match nothing.
class Condition {
  public:
    Condition(const GDB2& table, const std::string& name, const void* value)
        : Condition(table.getVarIndex1(name)) {
        const int type = table.getVarType(name);
        usable_ = column_ > 0 && type >= 0 && value != nullptr;
        if (usable_) {
            wanted_ = fromPointer(type, value);
        }
    }

    Condition(const GDB2& table, const std::string& name, const LineNode::Val& value)
        : Condition(table.getVarIndex1(name)) {
        const int type = table.getVarType(name);
        usable_ = column_ > 0 && type >= 0;
        if (usable_) {
            wanted_ = value.converted(type);
        }
    }

    bool holds(const LineNode& node) const {
        return usable_ && static_cast<std::size_t>(column_) <= node.cells.size() &&
               node.cells[static_cast<std::size_t>(column_) - 1].equals(wanted_);
    }

  private:
    explicit Condition(int column) : column_(column) {}

    int column_;
    bool usable_ = false;
    LineNode::Val wanted_;
};

LineNode* findRow(const GDB2& table, const Condition& first, const Condition& second, int n) {
    if (!table.lines || n < 1 || n > table.lineCount) {
        return nullptr;
    }
    int matches = 0;
    for (LineNode* node : *table.lines) {
        if (first.holds(*node) && second.holds(*node) && ++matches == n) {
            return node;
        }
    }
    return nullptr;
}

int rowIndex(const GDB2& table, const std::string& name, const LineNode::Val& value, int n) {
    const Condition condition(table, name, value);
    const LineNode* const node = findRow(table, condition, condition, n);
    return node == nullptr ? -1 : node->lineIndex;
}

std::vector<LineNode*> findRows(const GDB2& table, const Condition& condition) {
    std::vector<LineNode*> rows;
    if (table.lines) {
        for (LineNode* node : *table.lines) {
            if (condition.holds(*node)) {
                rows.push_back(node);
            }
        }
    }
    return rows;
}

std::vector<int> rowIndices(const GDB2& table, const std::string& name,
                            const LineNode::Val& value) {
    std::vector<int> indices;
    for (const LineNode* node : findRows(table, Condition(table, name, value))) {
        indices.push_back(node->lineIndex);
    }
    return indices;
}

bool assign(LineNode::Val* cell, const LineNode::Val& value) {
    if (cell == nullptr) {
        return false;
    }
    *cell = value.converted(cell->type);
    return true;
}

}  // namespace

LineNode* GDB2::getLineEntry(int row) const {
    if (!lines || row < 1 || row > lineCount || static_cast<std::size_t>(row) > lines->size()) {
        return nullptr;
    }
    return (*lines)[static_cast<std::size_t>(row) - 1];
}

LineNode* GDB2::getLineEntry(const std::string& name, void* value, int n) const {
    const Condition condition(*this, name, value);
    return findRow(*this, condition, condition, n);
}

LineNode* GDB2::getLineEntry(const std::string& name1, void* value1, const std::string& name2,
                             void* value2, int n) const {
    return findRow(*this, Condition(*this, name1, value1), Condition(*this, name2, value2), n);
}

int GDB2::getLineEntryIndex(const std::string& name, int value, int n) const {
    return rowIndex(*this, name, LineNode::Val(value), n);
}

int GDB2::getLineEntryIndex(const std::string& name, float value, int n) const {
    return rowIndex(*this, name, LineNode::Val(value), n);
}

int GDB2::getLineEntryIndex(const std::string& name, const std::string& value, int n) const {
    return rowIndex(*this, name, LineNode::Val(value), n);
}

std::vector<LineNode*> GDB2::getLineEntries(const std::string& name, void* value) const {
    return findRows(*this, Condition(*this, name, value));
}

std::vector<int> GDB2::getLineEntryIndice(const std::string& name, int value) const {
    return rowIndices(*this, name, LineNode::Val(value));
}

std::vector<int> GDB2::getLineEntryIndice(const std::string& name, float value) const {
    return rowIndices(*this, name, LineNode::Val(value));
}

std::vector<int> GDB2::getLineEntryIndice(const std::string& name, const std::string& value) const {
    return rowIndices(*this, name, LineNode::Val(value));
}

int GDB2::addNewLineEntry() {
    if (!lines && !initNodes()) {
        orvix::err() << "GDB operation error:: unable to generate a new line entry";
        return -1;
    }
    auto node = std::make_unique<LineNode>();
    node->cells.reserve(static_cast<std::size_t>(varsCount));
    for (int i = 0; i < varsCount && i < maxColumns; ++i) {
        node->cells.push_back(LineNode::Val::blank(varTypes[i]));
    }
    node->cellCount = static_cast<int>(node->cells.size());
    node->lineIndex = lineCount + 1;
    lines->push_back(node.get());
    node.release();
    return ++lineCount;
}

void GDB2::addNewLineEntryWithVal(const std::string& name, void* value) {
    setNode(addNewLineEntry(), name, value);
}

void GDB2::addNewLineEntryWithVal(const std::string& name, int value) {
    setNode(addNewLineEntry(), name, value);
}

void GDB2::addNewLineEntryWithVal(const std::string& name, float value) {
    setNode(addNewLineEntry(), name, value);
}

void GDB2::addNewLineEntryWithVal(const std::string& name, const std::string& value) {
    setNode(addNewLineEntry(), name, value);
}

LineNode::Val* GDB2::cellAt(int row, int column) const {
    LineNode* const node = getLineEntry(row);
    if (node == nullptr || column < 1 || static_cast<std::size_t>(column) > node->cells.size()) {
        return nullptr;
    }
    return &node->cells[static_cast<std::size_t>(column) - 1];
}

const LineNode::Val* GDB2::findCell(int row, const std::string& name) const {
    return cellAt(row, getVarIndex1(name));
}

void* GDB2::getNodeVal(int row, int column) const {
    const LineNode::Val* const cell = cellAt(row, column);
    return cell == nullptr ? nullptr : cell->value;
}

void* GDB2::getNodeVal(int row, const std::string& name) const {
    return getNodeVal(row, getVarIndex1(name));
}

float GDB2::getFloatNodeVal(int row, const std::string& name) const {
    const LineNode::Val* const cell = findCell(row, name);
    return cell == nullptr ? static_cast<float>(orvix::missingValue) : cell->toFloat();
}

int GDB2::getIntNodeVal(int row, const std::string& name) const {
    const LineNode::Val* const cell = findCell(row, name);
    return cell == nullptr ? 9999 : cell->toInt();
}

std::string GDB2::getStringNodeVal(int row, const std::string& name) const {
    const LineNode::Val* const cell = findCell(row, name);
    return cell == nullptr ? "NULL" : cell->toText();
}

bool GDB2::setNode(int row, int column, void* value) {
    LineNode::Val* const cell = cellAt(row, column);
    return value != nullptr && cell != nullptr && assign(cell, fromPointer(cell->type, value));
}

bool GDB2::setNode(int row, const std::string& name, void* value) {
    return setNode(row, getVarIndex1(name), value);
}

bool GDB2::setNode(const std::string& name, void* value) {
    return setNode(lineCount, name, value);
}

bool GDB2::setNode(int row, const std::string& name, int value) {
    return assign(cellAt(row, getVarIndex1(name)), LineNode::Val(value));
}

bool GDB2::setNode(int row, const std::string& name, float value) {
    return assign(cellAt(row, getVarIndex1(name)), LineNode::Val(value));
}

bool GDB2::setNode(int row, const std::string& name, const std::string& value) {
    return assign(cellAt(row, getVarIndex1(name)), LineNode::Val(value));
}
