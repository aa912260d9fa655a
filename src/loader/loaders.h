// The device libraries the plug-in opens at run time, one loader each, from the exports
// directory. A function a library (or the library itself) lacks fails the request with 404
// "FunctionNotFoundError" and the loader's message; a library that could not be opened is tried
// again on the next use, so a file placed in the directory later is picked up.
#ifndef QUILBY_LOADER_LOADERS_H
#define QUILBY_LOADER_LOADERS_H

#include "bridge/library_path.h"
#include "loader/dynamic_library.h"

namespace vesk {

// The one instance of each loader, opened on first use and kept open until process exit.
template <class Derived>
class ExportsLibraryLoader : public DynamicLibrary {
 public:
  // The instance, opening the library if it is not open (every call tries again after a failed
  // open). Thread-safe.
  static Derived& loader();

  // Throws BridgeResultError(404, "FunctionNotFoundError", Derived::kMissingFunction).
  void throw_function_not_found_error() const override;
};

template <class Derived>
Derived& ExportsLibraryLoader<Derived>::loader() {
  static Derived instance;
  if (!instance.isOpen()) instance.openIfClosed(LibraryPathInExports(Derived::kStem));
  return instance;
}

template <class Derived>
void ExportsLibraryLoader<Derived>::throw_function_not_found_error() const {
  throw BridgeResultError(BridgeStatusCode::NotFound, "FunctionNotFoundError",
                          Derived::kMissingFunction);
}

class libmeasurementdeviceLoader : public ExportsLibraryLoader<libmeasurementdeviceLoader> {
 public:
  static constexpr const char* kStem = "libmeasurementdevice";
  static constexpr const char* kMissingFunction =
      "libmeasurementdevice does not have a requested function.";
};

class libemcLoader : public ExportsLibraryLoader<libemcLoader> {
 public:
  static constexpr const char* kStem = "libemc";
  static constexpr const char* kMissingFunction = "libemc does not have a requested function.";
};

class halvexLoader : public ExportsLibraryLoader<halvexLoader> {
 public:
  static constexpr const char* kStem = "libhalvex";
  static constexpr const char* kMissingFunction = "halvex does not have a requested function.";
};

class libmdcorrectorLoader : public ExportsLibraryLoader<libmdcorrectorLoader> {
 public:
  static constexpr const char* kStem = "libmdcorrector";
  static constexpr const char* kMissingFunction =
      "libmdcorrector does not have a requested function.";
};

class libmSensorLoader : public ExportsLibraryLoader<libmSensorLoader> {
 public:
  static constexpr const char* kStem = "libmSensor";
  static constexpr const char* kMissingFunction = "libmSensor does not have a requested function.";
};

extern template class ExportsLibraryLoader<libmeasurementdeviceLoader>;
extern template class ExportsLibraryLoader<libemcLoader>;
extern template class ExportsLibraryLoader<halvexLoader>;
extern template class ExportsLibraryLoader<libmdcorrectorLoader>;
extern template class ExportsLibraryLoader<libmSensorLoader>;

}  // namespace vesk

#endif  // QUILBY_LOADER_LOADERS_H
