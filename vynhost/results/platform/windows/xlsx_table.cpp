#include "vynhost/results/table_file.h"

namespace vynhost {

std::unique_ptr<TableFile> xlsxTable(ResultFile&, const TableSubject& subject) {
    throw InputError(
        subject.place,
        "no xlsx is written on Windows; csv holds the same and opens in the same programs");
}

}  // namespace vynhost
