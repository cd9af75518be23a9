#include "vynhost/results/table_file.h"

#include "vynhost/base/messages.h"

namespace vynhost {

std::unique_ptr<TableFile> hdf5Table(ResultFile&, const TableSubject& subject) {
    throw InputError(subject.place, tr("no hdf5 is written on Windows; npy holds the same"));
}

}  // namespace vynhost
