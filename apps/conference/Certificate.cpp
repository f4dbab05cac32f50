#include "Certificate.h"

#include "StateFile.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace tq::conference {

namespace {

constexpr std::time_t s_day = 86400;
constexpr std::time_t s_lifetime = 730 * s_day;
/// A certificate this close to its end is replaced at start, so that it does not expire under a running service.
constexpr std::time_t s_renewal = 30 * s_day;
constexpr std::size_t s_largestFile = 65536;

template <auto Free> struct Freeing {
    template <class T> void operator()(T* object) const { Free(object); }
};
using CertificatePointer = std::unique_ptr<gnutls_x509_crt_int, Freeing<gnutls_x509_crt_deinit>>;
using PrivateKeyPointer = std::unique_ptr<gnutls_x509_privkey_int, Freeing<gnutls_x509_privkey_deinit>>;

void check(int result, const char* what)
{
    if (result < 0)
        throw std::runtime_error(std::string(what) + ": " + gnutls_strerror(result));
}

CertificatePointer newCertificate()
{
    gnutls_x509_crt_t crt = nullptr;
    check(gnutls_x509_crt_init(&crt), "certificate");
    return CertificatePointer(crt);
}

PrivateKeyPointer newPrivateKey()
{
    gnutls_x509_privkey_t key = nullptr;
    check(gnutls_x509_privkey_init(&key), "private key");
    return PrivateKeyPointer(key);
}

PrivateKeyPointer generatedKey()
{
    auto key = newPrivateKey();
    constexpr unsigned s_curve = GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1);
    check(gnutls_x509_privkey_generate(key.get(), GNUTLS_PK_ECDSA, s_curve, 0), "private key");
    return key;
}

/// Absent if the file has none.
template <class Pointer, class Import>
Pointer readFrom(const std::filesystem::path& path, Pointer object, const Import& import)
{
    auto text = StateFile::read(path, s_largestFile).value_or("");
    const gnutls_datum_t bytes{ reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned>(text.size()) };
    return import(object.get(), &bytes, GNUTLS_X509_FMT_PEM) < 0 ? nullptr : std::move(object);
}

using KeyId = std::array<unsigned char, 32>;

/// @param get is the library's function for the object, a certificate or a private key.
template <class T, class Get> KeyId keyIdOf(T object, const Get& get)
{
    KeyId id{};
    auto size = id.size();
    check(get(object, GNUTLS_KEYID_USE_SHA256, id.data(), &size), "key id");
    return id;
}

KeyId keyIdOf(gnutls_x509_privkey_t key) { return keyIdOf(key, gnutls_x509_privkey_get_key_id); }

/// What both certificates share: version, serial number, name, validity, public key.
CertificatePointer draft(gnutls_x509_privkey_t key, const char* name, std::time_t now)
{
    auto crt = newCertificate();
    std::array<unsigned char, 16> serial{};
    check(gnutls_rnd(GNUTLS_RND_RANDOM, serial.data(), serial.size()), "random number");
    serial[0] = (serial[0] & 0x3f) | 0x40; // positive and of full length
    check(gnutls_x509_crt_set_version(crt.get(), 3), "version");
    check(gnutls_x509_crt_set_serial(crt.get(), serial.data(), serial.size()), "serial number");
    check(gnutls_x509_crt_set_dn(crt.get(), name, nullptr), "name");
    check(gnutls_x509_crt_set_activation_time(crt.get(), now - s_day), "validity");
    check(gnutls_x509_crt_set_expiration_time(crt.get(), now + s_lifetime), "validity");
    check(gnutls_x509_crt_set_key(crt.get(), key), "public key");
    const auto id = keyIdOf(key);
    check(gnutls_x509_crt_set_subject_key_id(crt.get(), id.data(), 20), "key id");
    return crt;
}

CertificatePointer authorityFor(gnutls_x509_privkey_t key, std::time_t now)
{
    auto crt = draft(key, "CN=TQWhiteBoard local conference authority", now);
    check(gnutls_x509_crt_set_basic_constraints(crt.get(), 1, 0), "basic constraints");
    check(gnutls_x509_crt_set_key_usage(crt.get(), GNUTLS_KEY_KEY_CERT_SIGN | GNUTLS_KEY_CRL_SIGN), "key usage");
    check(gnutls_x509_crt_sign2(crt.get(), crt.get(), key, GNUTLS_DIG_SHA256, 0), "signature");
    return crt;
}

void addName(gnutls_x509_crt_t crt, gnutls_x509_subject_alt_name_t kind, const void* name, unsigned size)
{
    check(gnutls_x509_crt_set_subject_alt_name(crt, kind, name, size, GNUTLS_FSAN_APPEND), "alternative name");
}

CertificatePointer serverFor(
    gnutls_x509_privkey_t key, gnutls_x509_crt_t authority, gnutls_x509_privkey_t authorityKey, std::time_t now)
{
    auto crt = draft(key, "CN=localhost", now);
    constexpr std::array<unsigned char, 4> s_loopback4{ 127, 0, 0, 1 };
    constexpr std::array<unsigned char, 16> s_loopback6{ 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 };
    addName(crt.get(), GNUTLS_SAN_DNSNAME, "localhost", 9);
    addName(crt.get(), GNUTLS_SAN_IPADDRESS, s_loopback4.data(), s_loopback4.size());
    addName(crt.get(), GNUTLS_SAN_IPADDRESS, s_loopback6.data(), s_loopback6.size());
    const auto issuer = keyIdOf(authorityKey);
    check(gnutls_x509_crt_set_authority_key_id(crt.get(), issuer.data(), 20), "issuer's key id");
    check(gnutls_x509_crt_set_basic_constraints(crt.get(), 0, -1), "basic constraints");
    check(gnutls_x509_crt_set_key_usage(crt.get(), GNUTLS_KEY_DIGITAL_SIGNATURE), "key usage");
    check(gnutls_x509_crt_set_key_purpose_oid(crt.get(), GNUTLS_KP_TLS_WWW_SERVER, 0), "purpose");
    check(gnutls_x509_crt_sign2(crt.get(), authority, authorityKey, GNUTLS_DIG_SHA256, 0), "signature");
    return crt;
}

template <class Export> std::string textBy(const Export& exportTo)
{
    gnutls_datum_t text{};
    check(exportTo(&text), "export");
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner(text.data, gnutls_free);
    return { reinterpret_cast<const char*>(text.data), text.size };
}

std::string textOf(const CertificatePointer& crt)
{
    return textBy([&](auto* text) { return gnutls_x509_crt_export2(crt.get(), GNUTLS_X509_FMT_PEM, text); });
}

std::string textOf(const PrivateKeyPointer& key)
{
    return textBy([&](auto* text) {
        return gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, text);
    });
}

} // namespace

Certificate::Certificate(const std::filesystem::path& directory)
    : m_authorityFile(directory / "ca.pem")
    , m_serverFile(directory / "server.pem")
    , m_keyFile(directory / "server-key.pem")
{
}

Certificate Certificate::ensure(const std::filesystem::path& directory, std::time_t now)
{
    Certificate certificate(directory);
    if (!certificate.isUsable(now))
        certificate.make(now);
    return certificate;
}

bool Certificate::isUsable(std::time_t now) const
{
    const auto authority = readFrom(m_authorityFile, newCertificate(), gnutls_x509_crt_import);
    const auto server = readFrom(m_serverFile, newCertificate(), gnutls_x509_crt_import);
    const auto key = readFrom(m_keyFile, newPrivateKey(), gnutls_x509_privkey_import);
    if (!authority || !server || !key || keyIdOf(server.get(), gnutls_x509_crt_get_key_id) != keyIdOf(key.get()))
        return false;
    const auto permissions = std::filesystem::status(m_keyFile).permissions();
    constexpr auto s_others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    if ((permissions & s_others) != std::filesystem::perms::none)
        return false;
    if (gnutls_x509_crt_get_activation_time(server.get()) > now
        || gnutls_x509_crt_get_expiration_time(server.get()) < now + s_renewal)
        return false;
    unsigned fault = 0;
    gnutls_x509_crt_t issuer = authority.get();
    return gnutls_x509_crt_verify(server.get(), &issuer, 1, 0, &fault) >= 0 && fault == 0
        && gnutls_x509_crt_check_hostname(server.get(), "localhost") != 0;
}

void Certificate::make(std::time_t now) const
{
    const auto authorityKey = generatedKey();
    const auto authority = authorityFor(authorityKey.get(), now);
    const auto key = generatedKey();
    const auto server = serverFor(key.get(), authority.get(), authorityKey.get(), now);
    StateFile::write(m_keyFile, textOf(key));
    StateFile::write(m_serverFile, textOf(server));
    StateFile::write(m_authorityFile, textOf(authority));
}

} // namespace tq::conference
