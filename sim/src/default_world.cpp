#include "src/default_world.h"

namespace quilbysim {

// Two monitors with built-in sensors (one with the 8x3 matrix, DUE priority, presence detection
// and an arm sensor; one older model that selects its data index by flags), one
// monitor without a USB link, three outside instruments of different abilities (one of them on a
// serial link), stored correlations and correlation matrices. docs/simulator.md shows this text.
const char* defaultWorldText() {
  return R"json(
{
  "noise": {"seed": 20240611, "amplitude": 0.0005},
  "environment": {
    "ambient": {"x": 0.3805, "y": 0.3768},
    "illuminance": 320.0,
    "sample": {"X": 41.2, "Y": 43.1, "Z": 36.9}
  },
  "monitors": [
    {
      "serial": "QM7A0451",
      "product": "QM-27-Studio-Lab",
      "hidHandle": 4097,
      "panelRevision": 3,
      "duePriority": 2,
      "presenceDetection": {"on": false, "mode": 1, "modes": 3},
      "supports8x3": true,
      "supportsLuminanceLevelCorrection": true,
      "dataIndexByFlags": false,
      "dataIndex": 3,
      "dataSets": [
        {
          "index": 0,
          "matrix": [
            [0.97106, -0.00991, -0.00019],
            [-0.01963, 1.02061, 0.01944],
            [0.00925, -0.00009, 0.95238],
            [0.0012, -0.0008, 0.0],
            [0.0, 0.0006, -0.0009],
            [-0.0004, 0.0, 0.0007],
            [0.0, 0.0, 0.0],
            [0.0, 0.0, 0.0]
          ],
          "criterionSensor": {
            "date": {"year": 2023, "month": 11, "day": 2, "hour": 14, "minute": 20},
            "deviceID": 48,
            "serial": "QS20-240117"
          }
        },
        {
          "index": 1,
          "matrix": [
            [0.97106, -0.00991, -0.00019],
            [-0.01963, 1.02061, 0.01944],
            [0.00925, -0.00009, 0.95238],
            [0.0012, -0.0008, 0.0],
            [0.0, 0.0006, -0.0009],
            [-0.0004, 0.0, 0.0007],
            [0.0, 0.0, 0.0],
            [0.0, 0.0, 0.0]
          ],
          "criterionSensor": {
            "date": {"year": 2023, "month": 11, "day": 2, "hour": 14, "minute": 20},
            "deviceID": 48,
            "serial": "QS20-240117"
          }
        },
        {
          "index": 3,
          "matrix": [
            [0.97106, -0.00991, -0.00019],
            [-0.01963, 1.02061, 0.01944],
            [0.00925, -0.00009, 0.95238],
            [0.0012, -0.0008, 0.0],
            [0.0, 0.0006, -0.0009],
            [-0.0004, 0.0, 0.0007],
            [0.0, 0.0, 0.0],
            [0.0, 0.0, 0.0]
          ],
          "criterionSensor": {
            "date": {"year": 2023, "month": 11, "day": 2, "hour": 14, "minute": 20},
            "deviceID": 48,
            "serial": "QS20-240117"
          },
          "luminanceLevelCorrection": {"brightness": 160.0, "dimmerOut": 1023},
          "refParam": {
            "ambientTemperature": 24.5,
            "setTemperature": 25.0,
            "dimmerOut": 1023,
            "red": {"tone": 1.0},
            "green": {"tone": 1.0},
            "blue": {"tone": 1.0}
          }
        }
      ],
      "display": {
        "red": {"x": 0.68, "y": 0.32},
        "green": {"x": 0.265, "y": 0.69},
        "blue": {"x": 0.15, "y": 0.06},
        "white": {"x": 0.3127, "y": 0.329},
        "luminance": 160.0,
        "gamma": 2.2
      },
      "shownColor": [1.0, 1.0, 1.0]
    },
    {
      "serial": "QM7B0912",
      "product": "QM-27-Studio-Lab",
      "panelRevision": 3,
      "display": {
        "red": {"x": 0.679, "y": 0.321},
        "green": {"x": 0.266, "y": 0.688},
        "blue": {"x": 0.151, "y": 0.061},
        "white": {"x": 0.3135, "y": 0.33},
        "luminance": 150.0,
        "gamma": 2.2
      },
      "shownColor": [1.0, 1.0, 1.0]
    },
    {
      "serial": "QM4C0088",
      "product": "QM-24-Office",
      "hidHandle": 4098,
      "panelRevision": 1,
      "supports8x3": false,
      "supportsLuminanceLevelCorrection": false,
      "dataIndexByFlags": true,
      "dataIndex": 3,
      "dataSets": [
        {
          "index": 0,
          "matrix": [
            [1.04231, -0.02064, 0.00022],
            [-0.03096, 0.99061, -0.01065],
            [-0.00033, 0.01065, 1.07515]
          ]
        },
        {
          "index": 1,
          "matrix": [
            [1.04231, -0.02064, 0.00022],
            [-0.03096, 0.99061, -0.01065],
            [-0.00033, 0.01065, 1.07515]
          ]
        },
        {
          "index": 3,
          "matrix": [
            [1.04231, -0.02064, 0.00022],
            [-0.03096, 0.99061, -0.01065],
            [-0.00033, 0.01065, 1.07515]
          ]
        }
      ],
      "display": {
        "red": {"x": 0.64, "y": 0.33},
        "green": {"x": 0.3, "y": 0.6},
        "blue": {"x": 0.15, "y": 0.06},
        "white": {"x": 0.3127, "y": 0.329},
        "luminance": 120.0,
        "gamma": "sRGB"
      },
      "shownColor": [1.0, 1.0, 1.0]
    }
  ],
  "sensors": [
    {
      "deviceID": 4144,
      "individualID": "0000000010300451",
      "name": "QM arm sensor",
      "serial": "ARM-QM7A0451",
      "connection": "builtIn",
      "monitor": "QM7A0451",
      "capabilities": {"arm": true},
      "response": [
        [1.03, 0.02, -0.01],
        [0.01, 0.98, 0.0],
        [0.0, -0.02, 1.05]
      ],
      "countsPerUnit": 250.0,
      "state": {
        "ninePointCorrection": [
          [1.004, 0.0, 0.0],
          [0.0, 0.997, 0.0],
          [0.0, 0.0, 1.006]
        ]
      }
    },
    {
      "deviceID": 4145,
      "individualID": "0000000010310088",
      "name": "QM panel sensor",
      "serial": "PNL-QM4C0088",
      "connection": "builtIn",
      "monitor": "QM4C0088",
      "response": [
        [0.96, 0.03, 0.0],
        [0.02, 1.01, -0.01],
        [0.0, 0.01, 0.93]
      ],
      "countsPerUnit": 180.0
    },
    {
      "deviceID": 33,
      "individualID": "00c3000000004d2a",
      "name": "QS-10 colorimeter",
      "serial": "QS10-0042117",
      "connection": "usb",
      "monitor": "QM7A0451",
      "capabilities": {"ambient": true, "multiplePositions": true},
      "response": [
        [1.004, 0.003, 0.0],
        [0.001, 0.998, 0.002],
        [0.0, 0.004, 1.011]
      ],
      "countsPerUnit": 1000.0,
      "deviceOptions": {"1": 0, "2": 4}
    },
    {
      "deviceID": 48,
      "individualID": "00c5000000011b3e",
      "name": "QS-20 spectrophotometer",
      "serial": "QS20-240117",
      "connection": "usb",
      "monitor": "QM7A0451",
      "capabilities": {
        "ambient": true,
        "reflectance": true,
        "multiplePositions": true,
        "targetMarker": true,
        "exteriorLight": true,
        "needsCalibration": true,
        "spectrum": {"min": 380, "max": 730, "bandWidth": 10, "count": 36}
      },
      "countsPerUnit": 1000.0,
      "deviceOptions": {"1": 0},
      "parameterDescription": "QS-20, factory parameters"
    },
    {
      "deviceID": 82,
      "individualID": "0052000000000007",
      "name": "QS-30 reference",
      "serial": "QS30-980007",
      "connection": "serial",
      "usbDevice": "QS-30 serial bridge",
      "monitor": "QM7B0912",
      "capabilities": {"needsCalibration": true},
      "countsPerUnit": 500.0
    }
  ],
  "usbDevices": ["USB Composite Keyboard", "QS-30 serial bridge", "USB2.0 Hub"],
  "correlations": [
    {
      "id": 1,
      "monitor": {"serial": "QM7A0451", "product": "QM-27-Studio-Lab"},
      "reference": {"deviceID": 48, "serial": "QS20-240117"},
      "date": {"year": 2024, "month": 2, "day": 12, "hour": 10, "minute": 5},
      "kind": "CSSG2",
      "data": {
        "calibrationData": {
          "calibration": {
            "a": [
              [1.012, 0.004, -0.003],
              [0.002, 1.021, 0.001],
              [-0.001, 0.006, 0.987]
            ]
          }
        },
        "luminanceLevelCorrection": {"brightness": 160.0, "dimmerOut": 1023}
      }
    },
    {
      "id": 2,
      "monitor": {"serial": "QM7A0451", "product": "QM-27-Studio-Lab"},
      "reference": {"deviceID": 82, "serial": "QS30-980007"},
      "date": {"year": 2024, "month": 5, "day": 30, "hour": 16, "minute": 40},
      "kind": "CSSG2",
      "data": {
        "calibrationData": {
          "calibration": {
            "a": [
              [0.994, -0.002, 0.001],
              [0.0, 0.989, 0.0],
              [0.002, -0.004, 1.017]
            ],
            "b": [0.02, 0.02, 0.03]
          }
        }
      }
    },
    {
      "id": 3,
      "monitor": {"serial": "QM4C0088", "product": "QM-24-Office"},
      "reference": {"deviceID": 48, "serial": "QS20-240117"},
      "date": {"year": 2023, "month": 12, "day": 1, "hour": 9, "minute": 0},
      "kind": "IFSv3",
      "data": {
        "reference": {
          "ambientTemperature": 24.5,
          "setTemperature": 25.0,
          "dimmerOut": 612,
          "red": {"tone": 0.98},
          "green": {"tone": 1.0},
          "blue": {"tone": 1.03}
        }
      }
    }
  ],
  "correlationMatrices": [
    {
      "id": 1,
      "product": "QM-27-Studio-Lab",
      "panelRevision": 3,
      "reference": {"deviceID": 48, "serial": "QS20-240117"},
      "date": {"year": 2024, "month": 1, "day": 20, "hour": 8, "minute": 30},
      "matrix": [
        [1.015, 0.002, -0.002],
        [0.003, 1.018, 0.001],
        [0.0, 0.004, 0.991]
      ]
    },
    {
      "id": 2,
      "product": "QM-27-Studio-Lab",
      "panelRevision": 3,
      "reference": {"deviceID": 82, "serial": "QS30-980007"},
      "date": {"year": 2024, "month": 6, "day": 2, "hour": 13, "minute": 15},
      "matrix": [
        [0.991, 0.001, 0.0],
        [-0.002, 0.985, 0.003],
        [0.001, 0.0, 1.022],
        [0.0015, -0.001, 0.0],
        [0.0, 0.0008, -0.0012],
        [-0.0006, 0.0, 0.001],
        [0.0, 0.0, 0.0],
        [0.0, 0.0, 0.0]
      ]
    },
    {
      "id": 3,
      "product": "QM-24-Office",
      "panelRevision": 1,
      "reference": {"deviceID": 48, "serial": "QS20-240117"},
      "date": {"year": 2023, "month": 12, "day": 1, "hour": 9, "minute": 10},
      "matrix": [
        [1.021, 0.0, 0.002],
        [0.004, 0.993, -0.001],
        [-0.003, 0.002, 1.014]
      ]
    }
  ],
  "subprocess": {
    "deviceIDs": [48]
  },
  "failures": []
}
)json";
}

}  // namespace quilbysim
