// The dates, read with the library that libmicrohttpd uses for TLS.

#include "CertificateDates.h"

#include <gnutls/x509.h>

#include <algorithm>
#include <array>
#include <limits>

namespace loudgate {
namespace {

constexpr std::time_t kSecondsPerDay = 86400;
constexpr std::time_t kWarnBefore = 30 * kSecondsPerDay;

// From the latest beginning to the earliest end of the certificates in a chain. Clients refuse the
// whole chain outside this time.
struct Validity {
  std::time_t begin = std::numeric_limits<std::time_t>::min();
  std::time_t end = std::numeric_limits<std::time_t>::max();
};

Validity ValidityOf(const std::string& chain) {
  Validity validity;
  gnutls_datum_t text{};
  text.data = reinterpret_cast<unsigned char*>(const_cast<char*>(chain.data()));
  text.size = static_cast<unsigned>(chain.size());
  gnutls_x509_crt_t* certificates = nullptr;
  unsigned count = 0;
  if (gnutls_x509_crt_list_import2(&certificates, &count, &text, GNUTLS_X509_FMT_PEM, 0) < 0)
    return validity;
  for (unsigned i = 0; i < count; ++i) {
    validity.begin = std::max(validity.begin, gnutls_x509_crt_get_activation_time(certificates[i]));
    validity.end = std::min(validity.end, gnutls_x509_crt_get_expiration_time(certificates[i]));
    gnutls_x509_crt_deinit(certificates[i]);
  }
  gnutls_free(certificates);
  return validity;
}

std::string TimeText(std::time_t time) {
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
  return text.data();
}

}  // namespace

std::string DateWarningOf(const std::string& certificate, std::time_t now) {
  const Validity validity = ValidityOf(certificate);
  if (now >= validity.end)
    return "the certificate expired at " + TimeText(validity.end) + "; clients refuse it";
  if (now < validity.begin)
    return "the certificate is not valid before " + TimeText(validity.begin) +
           "; clients refuse it until then";
  if (now >= validity.end - kWarnBefore)
    return "the certificate expires at " + TimeText(validity.end) +
           "; clients refuse it from then on";
  return "";
}

}  // namespace loudgate
