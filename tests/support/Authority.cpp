#include "Authority.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <stdexcept>

namespace tq::test {

namespace {

void check(int result)
{
    if (result < 0)
        throw std::runtime_error(gnutls_strerror(result));
}

class Key {
public:
    Key()
    {
        check(gnutls_x509_privkey_init(&key));
        check(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    }
    ~Key() { gnutls_x509_privkey_deinit(key); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    gnutls_x509_privkey_t key = nullptr;
};

class Draft {
public:
    Draft(const Key& key, const std::string& name, std::time_t end)
    {
        static unsigned char s_serial = 0;
        ++s_serial;
        check(gnutls_x509_crt_init(&crt));
        check(gnutls_x509_crt_set_version(crt, 3));
        check(gnutls_x509_crt_set_serial(crt, &s_serial, 1));
        check(gnutls_x509_crt_set_dn(crt, ("CN=" + name).c_str(), nullptr));
        check(gnutls_x509_crt_set_activation_time(crt, std::time(nullptr) - 3600));
        check(gnutls_x509_crt_set_expiration_time(crt, end));
        check(gnutls_x509_crt_set_key(crt, key.key));
    }
    ~Draft() { gnutls_x509_crt_deinit(crt); }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    gnutls_x509_crt_t crt = nullptr;
};

template <class Export> std::string textBy(const Export& exportText)
{
    gnutls_datum_t text{};
    check(exportText(&text));
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner(text.data, gnutls_free);
    return { reinterpret_cast<const char*>(text.data), text.size };
}

std::string textOf(const Draft& draft)
{
    return textBy([&](auto* text) { return gnutls_x509_crt_export2(draft.crt, GNUTLS_X509_FMT_PEM, text); });
}

} // namespace

struct Authority::Impl {
    Key key;
    Draft draft{ key, "test authority", std::time(nullptr) + 3600 };
};

Authority::Authority()
    : m_impl(std::make_unique<Impl>())
{
    auto* crt = m_impl->draft.crt;
    check(gnutls_x509_crt_set_basic_constraints(crt, 1, 0));
    check(gnutls_x509_crt_set_key_usage(crt, GNUTLS_KEY_KEY_CERT_SIGN));
    check(gnutls_x509_crt_sign2(crt, crt, m_impl->key.key, GNUTLS_DIG_SHA256, 0));
}

Authority::~Authority() = default;

std::string Authority::identity(const Identity& wanted) const
{
    const Key key;
    const Draft draft(key, wanted.host, wanted.end);
    check(gnutls_x509_crt_set_subject_alt_name(
        draft.crt, GNUTLS_SAN_DNSNAME, wanted.host.data(), static_cast<unsigned>(wanted.host.size()), GNUTLS_FSAN_SET));
    check(gnutls_x509_crt_set_key_purpose_oid(draft.crt, GNUTLS_KP_TLS_WWW_SERVER, 0));
    if (wanted.isSelfSigned)
        check(gnutls_x509_crt_sign2(draft.crt, draft.crt, key.key, GNUTLS_DIG_SHA256, 0));
    else
        check(gnutls_x509_crt_sign2(draft.crt, m_impl->draft.crt, m_impl->key.key, GNUTLS_DIG_SHA256, 0));
    return textOf(draft) + textBy([&](auto* text) {
        return gnutls_x509_privkey_export2_pkcs8(key.key, GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, text);
    });
}

std::string Authority::certificate() const { return textOf(m_impl->draft); }

} // namespace tq::test
