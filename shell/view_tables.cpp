#include "shell/view_tables.h"

#include <algorithm>
#include <iterator>

namespace shell {
namespace {

// FOLDERVIEWMODE swaps the codes 6 and 7.
constexpr TView kViews[] = {
    {1, 1, 48},  // icons
    {2, 2, 16},  // small icons
    {3, 3, -1},  // list
    {4, 4, -1},  // details
    {5, 5, 128}, // thumbnails
    {6, 7, 256}, // thumbnail strip
    {7, 6, -1},  // tiles
    {8, 8, -1},  // content
};

struct Column {
    std::uint32_t code;
    TColumnKey key;
};

constexpr TColumnKey storageColumn(std::uint32_t property) {
    return {0xB725F130, 0x47EF, 0x101A, {0xA5, 0xF1, 0x02, 0x60, 0x8C, 0x9E, 0xEB, 0xAC}, property};
}

constexpr Column kColumns[] = {
    {1, {}},                 // none
    {10, storageColumn(10)}, // name
    {20, storageColumn(12)}, // size
    {21, storageColumn(4)},  // type
    {30, storageColumn(14)}, // date modified
    {40, {0xC94FB582, 0x8AE1, 0x4570, {0x83, 0x5B, 0xBC, 0xA2, 0x8F, 0xB9, 0xDE, 0x9B}, 6}},
};

template <class Row, std::size_t size, class Value>
const Row* find(const Row (&rows)[size], const Value& value, Value Row::*member) {
    const Row* row = std::ranges::find(rows, value, member);
    return row != std::end(rows) ? row : nullptr;
}

} // namespace

const TView* viewOfCode(std::uint32_t code) {
    return find(kViews, code, &TView::code);
}

std::uint32_t codeOfViewMode(std::uint32_t mode) {
    const TView* view = find(kViews, mode, &TView::mode);
    return view != nullptr ? view->code : 0;
}

const TColumnKey* keyOfColumn(std::uint32_t code) {
    const Column* column = find(kColumns, code, &Column::code);
    return column != nullptr ? &column->key : nullptr;
}

std::uint32_t codeOfColumn(const TColumnKey& key) {
    const Column* column = find(kColumns, key, &Column::key);
    return column != nullptr ? column->code : 0;
}

} // namespace shell
