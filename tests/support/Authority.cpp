#include "Authority.h"

#include "platform/Foundation/Releaser.h"

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

using Key = std::unique_ptr<gnutls_x509_privkey_int, Releaser<gnutls_x509_privkey_deinit>>;
using Draft = std::unique_ptr<gnutls_x509_crt_int, Releaser<gnutls_x509_crt_deinit>>;

Key newKey()
{
    gnutls_x509_privkey_t made = nullptr;
    check(gnutls_x509_privkey_init(&made));
    Key key(made);
    check(gnutls_x509_privkey_generate(made, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    return key;
}

Draft newDraft(const Key& key, const std::string& name, std::time_t end)
{
    static unsigned char s_serial = 0;
    ++s_serial;
    gnutls_x509_crt_t made = nullptr;
    check(gnutls_x509_crt_init(&made));
    Draft draft(made);
    check(gnutls_x509_crt_set_version(made, 3));
    check(gnutls_x509_crt_set_serial(made, &s_serial, 1));
    check(gnutls_x509_crt_set_dn(made, ("CN=" + name).c_str(), nullptr));
    check(gnutls_x509_crt_set_activation_time(made, std::time(nullptr) - 3600));
    check(gnutls_x509_crt_set_expiration_time(made, end));
    check(gnutls_x509_crt_set_key(made, key.get()));
    return draft;
}

template <class Export> std::string textBy(const Export& exportText)
{
    gnutls_datum_t text{};
    check(exportText(&text));
    const std::unique_ptr<unsigned char, decltype(gnutls_free)> owner(text.data, gnutls_free);
    return { reinterpret_cast<const char*>(text.data), text.size };
}

std::string textOf(const Draft& draft)
{
    return textBy([&](auto* text) { return gnutls_x509_crt_export2(draft.get(), GNUTLS_X509_FMT_PEM, text); });
}

} // namespace

struct Authority::Impl {
    Key key = newKey();
    Draft draft = newDraft(key, "test authority", std::time(nullptr) + 3600);
};

Authority::Authority()
    : m_impl(std::make_unique<Impl>())
{
    auto* crt = m_impl->draft.get();
    check(gnutls_x509_crt_set_basic_constraints(crt, 1, 0));
    check(gnutls_x509_crt_set_key_usage(crt, GNUTLS_KEY_KEY_CERT_SIGN));
    check(gnutls_x509_crt_sign2(crt, crt, m_impl->key.get(), GNUTLS_DIG_SHA256, 0));
}

Authority::~Authority() = default;

std::string Authority::identity(const Identity& wanted) const
{
    const auto key = newKey();
    const auto draft = newDraft(key, wanted.host, wanted.end);
    check(gnutls_x509_crt_set_subject_alt_name(draft.get(), GNUTLS_SAN_DNSNAME, wanted.host.data(),
        static_cast<unsigned>(wanted.host.size()), GNUTLS_FSAN_SET));
    check(gnutls_x509_crt_set_key_purpose_oid(draft.get(), GNUTLS_KP_TLS_WWW_SERVER, 0));
    if (wanted.isSelfSigned)
        check(gnutls_x509_crt_sign2(draft.get(), draft.get(), key.get(), GNUTLS_DIG_SHA256, 0));
    else
        check(gnutls_x509_crt_sign2(draft.get(), m_impl->draft.get(), m_impl->key.get(), GNUTLS_DIG_SHA256, 0));
    return textOf(draft) + textBy([&](auto* text) {
        return gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, text);
    });
}

std::string Authority::certificate() const { return textOf(m_impl->draft); }

} // namespace tq::test
