#include "loader/loaders.h"

namespace vesk {

template class ExportsLibraryLoader<libmeasurementdeviceLoader>;
template class ExportsLibraryLoader<libemcLoader>;
template class ExportsLibraryLoader<halvexLoader>;
template class ExportsLibraryLoader<libmdcorrectorLoader>;
template class ExportsLibraryLoader<libmSensorLoader>;

}  // namespace vesk
