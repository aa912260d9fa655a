// The simulated device world: monitors, sensors, USB devices, the correlation databases, the
// measurement subprocess and the injected failures, with every piece of state that device calls
// change. docs/simulator.md describes the JSON form read by world_reader.h and written by
// world_writer.h.
//
// Plain data. The world belongs to the Simulator (simulator.h), which guards it with its mutex.
#ifndef QUILBY_SIM_SRC_WORLD_H
#define QUILBY_SIM_SRC_WORLD_H

#include "quilby/device_types.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quilbysim {

using Vec3 = std::array<double, 3>;
// A square correction: output[r] = sum over c of m[r * 3 + c] * input[c].
using Matrix3 = std::array<double, 9>;
// A term matrix of 8 rows of 3, as the built-in sensors and the correlation matrices hold them:
// output[c] = sum over r of term[r] * m[r * 3 + c] (colour_model.h lists the terms). A 3-row
// matrix is the same with rows 3 to 7 zero.
using TermMatrix = std::array<double, 24>;

inline constexpr Matrix3 kIdentity3 = {1, 0, 0, 0, 1, 0, 0, 0, 1};
inline constexpr TermMatrix kIdentityTerms = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// Limits of the texts the device libraries hand out (device_types.h buffer sizes minus the NUL).
inline constexpr std::size_t kMonitorSerialMax = EMCTRL_SERIAL_SIZE - 1;
inline constexpr std::size_t kMonitorProductMax = EMCTRL_PRODUCT_SIZE - 1;
inline constexpr std::size_t kReferenceSerialMax = MD_REFERENCE_SERIAL_SIZE - 1;
inline constexpr std::size_t kCorrelationProductMax = MD_CORRELATION_PRODUCT_SIZE - 1;
inline constexpr std::size_t kCorrelationSerialMax = MD_CORRELATION_SERIAL_SIZE - 1;
inline constexpr std::size_t kParameterDescriptionMax = MD_PARAMETER_DESCRIPTION_SIZE - 1;

// Measurement modes (MDSetMode) and observers. A sensor with several positions reports the
// position of its mode, and kPositionCalibration is never reported by the simulator itself.
inline constexpr uint32_t kModeDisplay = 0;
inline constexpr uint32_t kModeAmbient = 1;
inline constexpr uint32_t kModeReflectance = 2;
inline constexpr uint32_t kObserver2Degree = 0;
inline constexpr uint32_t kObserver10Degree = 1;
inline constexpr uint32_t kPositionCalibration = 3;

struct Chromaticity {
  double x = 0.0;
  double y = 0.0;
};

// How a monitor turns the encoded RGB it is given into light.
struct Display {
  Chromaticity red{0.64, 0.33};
  Chromaticity green{0.30, 0.60};
  Chromaticity blue{0.15, 0.06};
  Chromaticity white{0.3127, 0.3290};
  double luminance = 120.0;  // cd/m2 of full white
  bool srgbCurve = false;    // the sRGB piecewise curve instead of a pure power
  double gamma = 2.2;
};

// One set of correlation and calibration data of a built-in sensor, chosen by the data index.
struct DataSet {
  uint32_t index = 0;
  TermMatrix matrix = kIdentityTerms;
  MDCSSG2CriterionSensorDescription criterionSensor{};
  MDCSSG2CalibrationData calibrationData{};
  MDCSSG2CorrectionData correctionData{};
  MDCSSG2LuminanceLevelCorrectionParams luminanceLevelCorrection{};
  R2XC_ValueRGBK normalizedMeasurement{};
  R2XC_RefParam refParam{};
  R2XC_RefToneParam refToneParam{};
  R2XC_ToneCorrectionParam toneCorrection{};
};

struct PresenceDetection {
  bool supported = false;
  bool on = false;
  uint32_t mode = 0;
  uint32_t modes = 1;  // valid modes are 0 to modes - 1
};

enum class Owner { None, Process, Other };

struct Monitor {
  std::string serial;   // at most 8 characters, unique in the world
  std::string product;  // at most 16 characters
  uint64_t hid = 0;     // 0: the monitor has no HID handle
  uint16_t panelRevision = 0;
  std::optional<uint32_t> duePriority;  // absent: no DUE priority setting
  PresenceDetection presence;
  bool supports8x3 = false;
  bool supportsLuminanceLevelCorrection = false;
  // Older firmware: CSSG2H_SetColorSensorDataIndex is refused and the index is chosen by the flags
  // of CSSG2H_SetColorSensorDataIndex2.
  bool dataIndexByFlags = false;
  uint32_t dataIndex = 3;
  std::vector<DataSet> dataSets;  // never empty; one of them has dataIndex
  Display display;
  Vec3 shownColor{1.0, 1.0, 1.0};
  Owner criticalSection = Owner::None;

  DataSet& selectedDataSet();
  const DataSet& selectedDataSet() const;
  DataSet* dataSet(uint32_t index);
};

enum class Connection { Usb, Serial, BuiltIn };

struct Spectrum {
  uint64_t min = 0;
  uint64_t max = 0;
  uint64_t bandWidth = 0;
  uint64_t count = 0;
};

struct Capabilities {
  bool ambient = false;
  bool reflectance = false;
  bool arm = false;
  bool multiplePositions = false;
  bool targetMarker = false;
  bool exteriorLight = false;
  bool needsCalibration = false;
  std::optional<Spectrum> spectrum;
};

// Target white of a correlation applied with a luminance-level recalculation.
struct TargetWhite {
  double x = 0.0;
  double y = 0.0;
  double luminance = 0.0;
};

// What calls change on a sensor. It belongs to the device, not to a handle: every handle of the
// sensor sees it, and it outlives closing.
struct SensorState {
  uint32_t mode = kModeDisplay;
  uint32_t observer = kObserver2Degree;
  bool calibrated = false;
  bool armOut = false;
  uint32_t position = kModeDisplay;
  bool targetMarker = false;
  bool exteriorLight = false;
  bool brightCorrectParamUpdate = false;
  std::optional<Matrix3> correction;  // MDSetCorrection
  Matrix3 exCorrection = kIdentity3;  // MDSetExCorrection
  std::optional<Matrix3> ninePointCorrection;
  std::optional<int64_t> appliedCorrelation;
  std::optional<TargetWhite> targetWhite;
  std::optional<int64_t> appliedMatrix;
  uint64_t measurements = 0;
  uint64_t temperatureCorrections = 0;
};

struct Sensor {
  MDDeviceID deviceID = 0;    // unique in the world
  uint64_t individualID = 0;  // unique in the world
  std::string name;
  std::string serial;
  Connection connection = Connection::Usb;
  std::string usbDevice;  // serial sensors: the USB device that carries the link
  std::string monitor;    // serial of the monitor it is built into or looks at; "" none
  Capabilities capabilities;
  Matrix3 response = kIdentity3;  // how far the sensor's own reading is from the light's XYZ
  double countsPerUnit = 100.0;   // raw counts per cd/m2 (or lx) of Y
  std::map<uint32_t, int32_t> deviceOptions;
  std::string parameterDescription;
  SensorState state;
};

enum class CorrelationKind { CSSG2, IFSv3 };

// A stored correlation correction (correction library and MDEnumCorrelationCorrection).
struct CorrelationRecord {
  int64_t id = 0;
  std::string monitorSerial;   // at most 16 characters
  std::string monitorProduct;  // at most 32
  MDDeviceID referenceDeviceID = 0;
  std::string referenceSerial;  // at most 32
  MDDate date{};
  CorrelationKind kind = CorrelationKind::CSSG2;
  MDCSSG2CorrelationDataEx cssg2{};
  MDIFSv3CorrelationData ifsv3{};
};

// A stored correlation matrix for a monitor product and panel revision.
struct CorrelationMatrix {
  int64_t id = 0;
  std::string product;  // at most 32 characters
  uint16_t panelRevision = 0;
  MDDeviceID referenceDeviceID = 0;
  std::string referenceSerial;
  MDDate date{};
  uint32_t rows = 3;  // 3 or 8
  TermMatrix matrix = kIdentityTerms;
};

struct Environment {
  Chromaticity ambient{0.3805, 0.3768};
  double illuminance = 300.0;     // lx, what a sensor in ambient mode reads as Y
  Vec3 sample{41.2, 43.1, 36.9};  // XYZ of the patch a sensor in reflectance mode reads
};

struct Subprocess {
  std::vector<MDDeviceID> deviceIDs;  // devices that need the subprocess
  bool running = false;
  std::string executablePath;
  std::string applicationName;
};

// The next `count` calls of `function`, after `skip` calls that pass, fail with `status`.
struct Failure {
  std::string function;
  uint32_t skip = 0;
  uint32_t count = 0;
  EmError status = EMERR_FAILED;
};

struct Noise {
  uint64_t seed = 1;
  double amplitude = 0.0005;  // relative, each reading is scaled by 1 + amplitude * [-1, 1)
};

struct World {
  Noise noise;
  std::optional<MDDate> clock;  // the date new database records get; absent: the real UTC time
  Environment environment;
  std::vector<Monitor> monitors;
  std::vector<Sensor> sensors;
  std::vector<std::string> usbDevices;
  std::vector<CorrelationRecord> correlations;
  std::vector<CorrelationMatrix> correlationMatrices;
  Subprocess subprocess;
  std::string libraryDirectory;
  uint64_t controlPanelOpenings = 0;
  std::vector<Failure> failures;

  Monitor* findMonitor(std::string_view serial, std::string_view product);
  Monitor* findMonitorBySerial(std::string_view serial);
  const Monitor* findMonitorBySerial(std::string_view serial) const;
  Monitor* findMonitorByHid(const void* hid);
  // The sensor built into `monitor`, or nullptr.
  Sensor* builtInSensor(const Monitor& monitor);
  // The monitor a sensor is built into or looks at, or nullptr.
  Monitor* monitorOf(const Sensor& sensor);
  CorrelationRecord* findCorrelation(int64_t id);
  const CorrelationRecord* findCorrelation(int64_t id) const;
  CorrelationMatrix* findCorrelationMatrix(int64_t id);
  const CorrelationMatrix* findCorrelationMatrix(int64_t id) const;
  // The correlation matrices stored for `product` and `panelRevision`, in the order they were
  // stored. Callers cut `product` to their own buffer size first.
  std::vector<const CorrelationMatrix*> correlationMatricesFor(std::string_view product,
                                                               uint16_t panelRevision) const;
  bool usbDevicePresent(std::string_view name) const;
};

inline void* hidPointer(uint64_t hid) {
  return reinterpret_cast<void*>(static_cast<uintptr_t>(hid));
}

}  // namespace quilbysim

#endif  // QUILBY_SIM_SRC_WORLD_H
