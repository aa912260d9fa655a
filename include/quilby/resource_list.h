/* quilby/resource_list.h: every resource of the plug-in, listed once.
 *
 * QUILBY_RESOURCES(X) expands X(Name, Methods, Path) for each of the 34 resources, in the order of
 * the plug-in's export list:
 *   Name     the exported entry point (quilby/plugin.h) and the resource class vesk::bridge::Name;
 *   Methods  the methods its handlers implement, as a text of "GET", "PUT", "POST" and "DELETE"
 *            separated by single spaces; every other method is answered with 405 "MethodError";
 *   Path     the REST path under which a host serves it, "{name}" segments being the path
 *            parameters the resource reads (development host, docs/api.md).
 *
 * The declarations and definitions of the entry points, the plug-in's export map and the
 * development host's route table are all made from this list: adding a resource is adding a line
 * here and its class.
 */
#ifndef QUILBY_RESOURCE_LIST_H
#define QUILBY_RESOURCE_LIST_H

#define QUILBY_RESOURCES(X)                                                                      \
  X(Sensors, "GET PUT DELETE", "/Sensors")                                                       \
  X(SensorsName, "GET", "/Sensors/Name")                                                         \
  X(DeviceID, "POST", "/Sensors/{deviceID}")                                                     \
  X(IndividualID, "POST", "/Sensors/Individual/{individualID}")                                  \
  X(Monitors, "POST", "/Monitors/{serial}/{product}/Sensor")                                     \
  X(Sensor, "GET DELETE", "/Sensors/{id}")                                                       \
  X(SensorMode, "GET PUT", "/Sensors/{id}/Mode")                                                 \
  X(SensorCalibration, "GET PUT", "/Sensors/{id}/Calibration")                                   \
  X(SensorXYZ, "GET", "/Sensors/{id}/XYZ")                                                       \
  X(SensorRawData, "GET", "/Sensors/{id}/RawData")                                               \
  X(SensorRGB, "GET", "/Sensors/{id}/RGB")                                                       \
  X(SensorIR, "GET", "/Sensors/{id}/IR")                                                         \
  X(SensorXYZWithoutCorrelation, "GET", "/Sensors/{id}/XYZWithoutCorrelation")                   \
  X(SensorArm, "GET PUT", "/Sensors/{id}/Arm")                                                   \
  X(SensorPosition, "GET", "/Sensors/{id}/Position")                                             \
  X(SensorExteriorLight, "GET PUT", "/Sensors/{id}/ExteriorLight")                               \
  X(SensorParameterDescription, "GET PUT", "/Sensors/{id}/ParameterDescription")                 \
  X(SensorCorrection, "PUT DELETE", "/Sensors/{id}/Correction")                                  \
  X(SensorExCorrection, "GET PUT", "/Sensors/{id}/ExCorrection")                                 \
  X(SensorTargetMarker, "GET PUT", "/Sensors/{id}/TargetMarker")                                 \
  X(XRiteControlPanel, "PUT", "/XRite/ControlPanel")                                             \
  X(SensorCorrelation, "GET PUT DELETE", "/Sensors/{id}/Correlation")                            \
  X(SensorCorrelation9Points, "DELETE", "/Sensors/{id}/Correlation/9Points")                     \
  X(SensorCorrelationDescription, "GET PUT DELETE", "/Sensors/{id}/Correlation/Description")     \
  X(SensorCorrelationData, "GET PUT", "/Sensors/{id}/Correlation/Data")                          \
  X(SensorCorrelationDatabase, "GET POST", "/Sensors/{id}/Correlation/Database")                 \
  X(SensorCorrelationMatrix, "GET PUT DELETE", "/Sensors/{id}/CorrelationMatrix")                \
  X(SensorCorrelationMatrixData, "GET PUT", "/Sensors/{id}/CorrelationMatrix/Data")              \
  X(SensorCorrelationMatrixDatabase, "GET POST", "/Sensors/{id}/CorrelationMatrix/Database")     \
  X(SensorAmbraSense, "GET PUT", "/Sensors/{id}/AmbraSense")                                     \
  X(SensorAmbraSenseLevel, "GET PUT", "/Sensors/{id}/AmbraSense/Level")                          \
  X(SensorIFSTempCorrectParam, "POST", "/Sensors/{id}/IFSTempCorrectParam")                      \
  X(SensorIFSBrightCorrectParamUpdate, "GET PUT", "/Sensors/{id}/IFSBrightCorrectParamUpdate")   \
  X(SensorDeviceOption, "GET PUT", "/Sensors/{id}/DeviceOption")

/* The plug-in's other exports, declared one by one in quilby/plugin.h. */
#define QUILBY_OTHER_EXPORTS(X)                                                                  \
  X(Setup) X(TearDown) X(SensorControlGetHandleForID) X(QuilbyGetHandleForHIDHandle)            \
  X(QuilbyGetHandleForDeviceID) X(QuilbyRemoveSensor) X(QuilbyPreUpdateBuiltInSensorHandle)      \
  X(QuilbyUpdateBuiltInSensorHandle) X(QuilbyEnumConnectedSerialSensors) X(QuilbyLockSensors)    \
  X(QuilbyUnlockSensors)

#endif /* QUILBY_RESOURCE_LIST_H */
