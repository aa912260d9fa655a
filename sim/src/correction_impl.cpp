// libmdcorrector_x64.so: the databases of correlation data and correlation matrices.
#include "src/implementations.h"
#include "src/records.h"
#include "src/simulator.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <tuple>

namespace quilbysim::impl {
namespace {

MDDate today(const World& world) {
  if (world.clock) return *world.clock;
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm utc{};
  gmtime_r(&now, &utc);
  return MDDate{static_cast<uint16_t>(utc.tm_year + 1900), static_cast<uint8_t>(utc.tm_mon + 1),
                static_cast<uint8_t>(utc.tm_mday), static_cast<uint8_t>(utc.tm_hour),
                static_cast<uint8_t>(utc.tm_min)};
}

bool validDate(const MDDate& date) {
  return date.month >= 1 && date.month <= 12 && date.day >= 1 && date.day <= 31 &&
         date.hour <= 23 && date.minute <= 59;
}

bool fits(const char* text, std::size_t maximum) { return text && std::strlen(text) <= maximum; }

// Checks the identifying texts of a new correlation record; EMERR_OK when they are usable.
EmError checkIdentity(const char* monitorSerial, const char* monitorProduct,
                      const char* referenceSerial) {
  if (!monitorSerial || !monitorProduct || !referenceSerial || !*monitorSerial ||
      !*monitorProduct) {
    return EMERR_INVALID_ARGUMENT;
  }
  if (!fits(monitorSerial, kCorrelationSerialMax) ||
      !fits(monitorProduct, kCorrelationProductMax) ||
      !fits(referenceSerial, kReferenceSerialMax)) {
    return EMERR_INVALID_DATA_SIZE;
  }
  return EMERR_OK;
}

template <class Items>
int64_t nextID(const Items& items) {
  int64_t last = 0;
  for (const auto& item : items) last = std::max(last, item.id);
  return last + 1;
}

EmError addCorrelation(Call& call, const char* monitorSerial, const char* monitorProduct,
                       MDDeviceID referenceDeviceID, const char* referenceSerial,
                       const MDDate* date, int64_t* id, CorrelationKind kind, const void* data) {
  if (const EmError problem = checkIdentity(monitorSerial, monitorProduct, referenceSerial)) {
    return problem;
  }
  if (!data || !id) return EMERR_INVALID_BUFFER;
  if (date && !validDate(*date)) return EMERR_INVALID_DATA;
  const records::Layout& layout = kind == CorrelationKind::CSSG2
                                      ? records::kCSSG2CorrelationDataEx
                                      : records::kIFSv3CorrelationData;
  if (!records::finite(data, layout)) return EMERR_INVALID_DATA;
  World& world = call.world();
  CorrelationRecord record;
  record.id = nextID(world.correlations);
  record.monitorSerial = monitorSerial;
  record.monitorProduct = monitorProduct;
  record.referenceDeviceID = referenceDeviceID;
  record.referenceSerial = referenceSerial;
  record.date = date ? *date : today(world);
  record.kind = kind;
  if (kind == CorrelationKind::CSSG2) {
    record.cssg2 = *static_cast<const MDCSSG2CorrelationDataEx*>(data);
  } else {
    record.ifsv3 = *static_cast<const MDIFSv3CorrelationData*>(data);
  }
  world.correlations.push_back(record);
  *id = record.id;
  return EMERR_OK;
}

template <class Record>
EmError getCorrelation(Call& call, int64_t id, Record* data, CorrelationKind kind,
                       Record CorrelationRecord::*member) {
  if (!data) return EMERR_INVALID_BUFFER;
  const CorrelationRecord* record = call.world().findCorrelation(id);
  if (!record) return EMERR_NOT_REGISTERED;
  if (record->kind != kind) return EMERR_INVALID_DATA;
  *data = record->*member;
  return EMERR_OK;
}

std::string_view productText(const char* product) {
  return inputText(product, kCorrelationProductMax + 1);
}

}  // namespace

EmError MDAddCSSG2CorrelationDataEx(const char* monitorSerial, const char* monitorProduct,
                                    MDDeviceID referenceDeviceID, const char* referenceSerial,
                                    const MDCSSG2CorrelationDataEx* data, int64_t* id) {
  Call call(
      "MDAddCSSG2CorrelationDataEx",
      {form::text(monitorSerial), form::text(monitorProduct), form::integer(referenceDeviceID),
       form::text(referenceSerial), form::record(data, records::kCSSG2CorrelationDataEx)});
  return call.status([&] {
    return addCorrelation(call, monitorSerial, monitorProduct, referenceDeviceID, referenceSerial,
                          nullptr, id, CorrelationKind::CSSG2, data);
  });
}

EmError MDAddCSSG2CorrelationDataWithDateEx(const char* monitorSerial, const char* monitorProduct,
                                            MDDeviceID referenceDeviceID,
                                            const char* referenceSerial,
                                            const MDCSSG2CorrelationDataEx* data,
                                            const MDDate* date, int64_t* id) {
  Call call(
      "MDAddCSSG2CorrelationDataWithDateEx",
      {form::text(monitorSerial), form::text(monitorProduct), form::integer(referenceDeviceID),
       form::text(referenceSerial), form::record(data, records::kCSSG2CorrelationDataEx),
       form::record(date, records::kDate)});
  return call.status([&]() -> EmError {
    if (!date) return EMERR_INVALID_ARGUMENT;
    return addCorrelation(call, monitorSerial, monitorProduct, referenceDeviceID, referenceSerial,
                          date, id, CorrelationKind::CSSG2, data);
  });
}

EmError MDGetCSSG2CorrelationDataEx(int64_t id, MDCSSG2CorrelationDataEx* data) {
  Call call("MDGetCSSG2CorrelationDataEx", {form::integer(id)});
  return call.status([&] {
    return getCorrelation(call, id, data, CorrelationKind::CSSG2, &CorrelationRecord::cssg2);
  });
}

EmError MDAddIFSv3CorrelationData(const char* monitorSerial, const char* monitorProduct,
                                  MDDeviceID referenceDeviceID, const char* referenceSerial,
                                  const MDIFSv3CorrelationData* data, int64_t* id) {
  Call call(
      "MDAddIFSv3CorrelationData",
      {form::text(monitorSerial), form::text(monitorProduct), form::integer(referenceDeviceID),
       form::text(referenceSerial), form::record(data, records::kIFSv3CorrelationData)});
  return call.status([&] {
    return addCorrelation(call, monitorSerial, monitorProduct, referenceDeviceID, referenceSerial,
                          nullptr, id, CorrelationKind::IFSv3, data);
  });
}

EmError MDGetIFSv3CorrelationData(int64_t id, MDIFSv3CorrelationData* data) {
  Call call("MDGetIFSv3CorrelationData", {form::integer(id)});
  return call.status([&] {
    return getCorrelation(call, id, data, CorrelationKind::IFSv3, &CorrelationRecord::ifsv3);
  });
}

EmError MDAddCorrelationMatrix(const char* product, uint16_t panelRevision,
                               MDDeviceID referenceDeviceID, const char* referenceSerial,
                               const double* matrix, uint32_t rows, int64_t* id) {
  Call call("MDAddCorrelationMatrix",
            {form::text(product), form::integer(panelRevision), form::integer(referenceDeviceID),
             form::text(referenceSerial),
             form::doubles(matrix, rows == 3 || rows == 8 ? rows * 3 : 0), form::integer(rows)});
  return call.status([&]() -> EmError {
    if (!product || !*product || !referenceSerial || (rows != 3 && rows != 8)) {
      return EMERR_INVALID_ARGUMENT;
    }
    if (!fits(product, kCorrelationProductMax) || !fits(referenceSerial, kReferenceSerialMax)) {
      return EMERR_INVALID_DATA_SIZE;
    }
    if (!matrix || !id) return EMERR_INVALID_BUFFER;
    if (!records::allFinite(matrix, rows * 3)) return EMERR_INVALID_DATA;
    World& world = call.world();
    CorrelationMatrix stored;
    stored.id = nextID(world.correlationMatrices);
    stored.product = product;
    stored.panelRevision = panelRevision;
    stored.referenceDeviceID = referenceDeviceID;
    stored.referenceSerial = referenceSerial;
    stored.date = today(world);
    stored.rows = rows;
    stored.matrix.fill(0.0);
    std::copy(matrix, matrix + rows * 3, stored.matrix.begin());
    world.correlationMatrices.push_back(stored);
    *id = stored.id;
    return EMERR_OK;
  });
}

EmError MDEnumCorrelationInfo(uint32_t index, MDDeviceID* referenceDeviceID,
                              char referenceSerial[MD_REFERENCE_SERIAL_SIZE],
                              char monitorProduct[MD_CORRELATION_PRODUCT_SIZE],
                              char monitorSerial[MD_CORRELATION_SERIAL_SIZE], int64_t* id) {
  Call call("MDEnumCorrelationInfo", {form::integer(index)});
  return call.status([&]() -> EmError {
    if (!referenceDeviceID || !referenceSerial || !monitorProduct || !monitorSerial || !id) {
      return EMERR_INVALID_BUFFER;
    }
    const std::vector<CorrelationRecord>& list = call.world().correlations;
    if (index >= list.size()) return EMERR_NO_MORE_DATA;
    const CorrelationRecord& record = list[index];
    *referenceDeviceID = record.referenceDeviceID;
    copyText(referenceSerial, MD_REFERENCE_SERIAL_SIZE, record.referenceSerial);
    copyText(monitorProduct, MD_CORRELATION_PRODUCT_SIZE, record.monitorProduct);
    copyText(monitorSerial, MD_CORRELATION_SERIAL_SIZE, record.monitorSerial);
    *id = record.id;
    return EMERR_OK;
  });
}

EmError MDEnumCorrelationMatrixInfo(const char* product, uint16_t panelRevision, uint32_t index,
                                    MDDeviceID* referenceDeviceID,
                                    char referenceSerial[MD_REFERENCE_SERIAL_SIZE], int64_t* id) {
  Call call("MDEnumCorrelationMatrixInfo",
            {form::text(product), form::integer(panelRevision), form::integer(index)});
  return call.status([&]() -> EmError {
    if (!product) return EMERR_INVALID_ARGUMENT;
    if (!referenceDeviceID || !referenceSerial || !id) return EMERR_INVALID_BUFFER;
    const std::vector<const CorrelationMatrix*> list =
        call.world().correlationMatricesFor(productText(product), panelRevision);
    if (index >= list.size()) return EMERR_NO_MORE_DATA;
    const CorrelationMatrix& matrix = *list[index];
    *referenceDeviceID = matrix.referenceDeviceID;
    copyText(referenceSerial, MD_REFERENCE_SERIAL_SIZE, matrix.referenceSerial);
    *id = matrix.id;
    return EMERR_OK;
  });
}

EmError MDGetCorrelationDataDate(int64_t id, MDDate* date) {
  Call call("MDGetCorrelationDataDate", {form::integer(id)});
  return call.status([&]() -> EmError {
    if (!date) return EMERR_INVALID_BUFFER;
    const CorrelationRecord* record = call.world().findCorrelation(id);
    if (!record) return EMERR_NOT_REGISTERED;
    *date = record->date;
    return EMERR_OK;
  });
}

EmError MDGetCorrelationMatrixDate(int64_t id, MDDate* date) {
  Call call("MDGetCorrelationMatrixDate", {form::integer(id)});
  return call.status([&]() -> EmError {
    if (!date) return EMERR_INVALID_BUFFER;
    const CorrelationMatrix* matrix = call.world().findCorrelationMatrix(id);
    if (!matrix) return EMERR_NOT_REGISTERED;
    *date = matrix->date;
    return EMERR_OK;
  });
}

EmError MDGetLatestCorrelationMatrixID(const char* product, uint16_t panelRevision, int64_t* id) {
  Call call("MDGetLatestCorrelationMatrixID", {form::text(product), form::integer(panelRevision)});
  return call.status([&]() -> EmError {
    if (!product) return EMERR_INVALID_ARGUMENT;
    if (!id) return EMERR_INVALID_BUFFER;
    // Latest by date; among matrices of the same minute, the one stored last.
    const CorrelationMatrix* latest = nullptr;
    auto key = [](const CorrelationMatrix& m) {
      return std::make_tuple(m.date.year, m.date.month, m.date.day, m.date.hour, m.date.minute,
                             m.id);
    };
    for (const CorrelationMatrix* matrix :
         call.world().correlationMatricesFor(productText(product), panelRevision)) {
      if (!latest || key(*matrix) > key(*latest)) latest = matrix;
    }
    if (!latest) return EMERR_NO_MORE_DATA;
    *id = latest->id;
    return EMERR_OK;
  });
}

}  // namespace quilbysim::impl
