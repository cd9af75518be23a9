#include "vynhost/results/table_file.h"

#include "vynhost/base/messages.h"

namespace vynhost {

std::unique_ptr<TableFile> xlsxTable(ResultFile&, const TableSubject& subject) {
    throw InputError(
        subject.place,
        tr("no xlsx is written on Windows; csv holds the same and opens in the same programs"));
}

}  // namespace vynhost
