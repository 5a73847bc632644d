#include "host/sealing/CAESGCMSealing.h"

#include <glib.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::string_view kPrefix = "S1:";
// Bound into every tag, so that a sealed string of another format or version never opens.
constexpr std::string_view kAssociated = "vellum sealing 1";
// Each text is far below what a cipher call takes at once.
constexpr size_t kMaxText = size_t{1} << 28;

/// A byte buffer that is wiped before it is freed.
class SecretBytes {
public:
    explicit SecretBytes(size_t size) : m_bytes(size) {}
    ~SecretBytes() { OPENSSL_cleanse(m_bytes.data(), m_bytes.size()); }
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    unsigned char* data() { return m_bytes.data(); }
    size_t size() const { return m_bytes.size(); }

private:
    std::vector<unsigned char> m_bytes;
};

struct CipherDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, CipherDeleter>;

bool isBase64Digit(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
}

/// Strict base64: whole groups of four, padding only at the end.
bool decodeBase64(std::string_view text, std::vector<unsigned char>& out) {
    if (text.empty() || text.size() % 4 != 0)
        return false;
    size_t padding = 0;
    if (text.back() == '=')
        padding = text[text.size() - 2] == '=' ? 2 : 1;
    for (size_t i = 0; i < text.size() - padding; ++i) {
        if (!isBase64Digit(text[i]))
            return false;
    }
    out.resize(text.size() / 4 * 3);
    int decoded = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                  static_cast<int>(text.size()));
    if (decoded < 0 || static_cast<size_t>(decoded) < padding)
        return false;
    out.resize(static_cast<size_t>(decoded) - padding);
    return true;
}

std::string encodeBase64(const unsigned char* bytes, size_t length) {
    std::string text((length + 2) / 3 * 4 + 1, '\0');
    int written = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes,
                                  static_cast<int>(length));
    text.resize(static_cast<size_t>(written));
    return text;
}

/// Writes all of bytes to fd.
bool writeAll(int fd, const uint8_t* bytes, size_t length) {
    while (length > 0) {
        ssize_t n = write(fd, bytes, length);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

CAESGCMSealing::CAESGCMSealing(std::string keyPath) : m_keyPath(std::move(keyPath)) {}

CAESGCMSealing::~CAESGCMSealing() {
    OPENSSL_cleanse(m_key, sizeof m_key);
}

std::string CAESGCMSealing::defaultKeyPath() {
    return std::string(g_get_user_data_dir()) + "/vellum/sealing.key";
}

bool CAESGCMSealing::available() {
    return ensureKey();
}

bool CAESGCMSealing::ensureKey() {
    if (m_state != KeyState::Unknown)
        return m_state == KeyState::Ready;
    m_state = KeyState::Unavailable;
    if (m_keyPath.empty())
        return false;
    int fd = open(m_keyPath.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    bool ready = false;
    if (fd >= 0) {
        const char* refused = readKey(fd);
        close(fd);
        if (refused)
            tellRefused(refused);
        ready = !refused;
    } else if (errno == ENOENT) {
        ready = makeKey();
    } else {
        tellRefused(errno == ELOOP ? "it is a symbolic link" : std::strerror(errno));
    }
    if (ready)
        m_state = KeyState::Ready;
    return ready;
}

void CAESGCMSealing::tellRefused(const std::string& reason) const {
    std::cerr << "vellum-host: the key file " << m_keyPath << " was refused (" << reason
              << "): saved passwords are not available" << std::endl;
}

const char* CAESGCMSealing::readKey(int fd) {
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
        return "it is not a regular file";
    if (info.st_uid != geteuid())
        return "it belongs to another user";
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return "others than its owner may use it";
    if (info.st_size != static_cast<off_t>(kKeySize))
        return "it is not the size of a key";
    size_t got = 0;
    while (got < kKeySize) {
        ssize_t n = read(fd, m_key + got, kKeySize - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += static_cast<size_t>(n);
    }
    if (got == kKeySize)
        return nullptr;
    OPENSSL_cleanse(m_key, sizeof m_key);
    return "it could not be read";
}

bool CAESGCMSealing::makeKey() {
    std::string folder = m_keyPath.substr(0, m_keyPath.rfind('/') + 1);
    if (folder.empty() || (g_mkdir_with_parents(folder.c_str(), 0700) != 0))
        return false;
    uint8_t key[kKeySize];
    if (RAND_bytes(key, sizeof key) != 1)
        return false;
    // The key goes to a file of its own first and takes its name by a link, which fails when
    // another copy of the host made one meanwhile: then that one is the key.
    std::string temp = m_keyPath + ".XXXXXX";
    int fd = mkostemp(temp.data(), O_CLOEXEC);
    bool written = fd >= 0 && fchmod(fd, S_IRUSR | S_IWUSR) == 0 && writeAll(fd, key, sizeof key) &&
                   fsync(fd) == 0;
    if (fd >= 0)
        close(fd);
    bool linked = written && link(temp.c_str(), m_keyPath.c_str()) == 0;
    int linkError = errno;
    if (fd >= 0)
        unlink(temp.c_str());
    if (linked) {
        std::memcpy(m_key, key, sizeof key);
        OPENSSL_cleanse(key, sizeof key);
        return true;
    }
    OPENSSL_cleanse(key, sizeof key);
    if (!written || linkError != EEXIST)
        return false;
    fd = open(m_keyPath.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return false;
    const char* refused = readKey(fd);
    close(fd);
    if (refused)
        tellRefused(refused);
    return !refused;
}

std::optional<std::string> CAESGCMSealing::seal(std::string_view text1, std::string_view text2) {
    if (!ensureKey() || text1.size() > kMaxText || text2.size() > kMaxText)
        return std::nullopt;
    SecretBytes plain(4 + text1.size() + text2.size());
    uint32_t length1 = static_cast<uint32_t>(text1.size());
    for (int i = 0; i < 4; ++i)
        plain.data()[i] = static_cast<unsigned char>(length1 >> (24 - 8 * i));
    std::memcpy(plain.data() + 4, text1.data(), text1.size());
    std::memcpy(plain.data() + 4 + text1.size(), text2.data(), text2.size());

    std::vector<unsigned char> sealed(kNonceSize + plain.size() + kTagSize);
    unsigned char* nonce = sealed.data();
    unsigned char* cipher = nonce + kNonceSize;
    unsigned char* tag = cipher + plain.size();
    if (RAND_bytes(nonce, kNonceSize) != 1)
        return std::nullopt;
    CipherContext context(EVP_CIPHER_CTX_new());
    int n = 0, last = 0;
    if (!context ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, m_key, nonce) != 1 ||
        EVP_EncryptUpdate(context.get(), nullptr, &n,
                          reinterpret_cast<const unsigned char*>(kAssociated.data()),
                          static_cast<int>(kAssociated.size())) != 1 ||
        EVP_EncryptUpdate(context.get(), cipher, &n, plain.data(),
                          static_cast<int>(plain.size())) != 1 ||
        EVP_EncryptFinal_ex(context.get(), cipher + n, &last) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(kTagSize), tag) !=
            1)
        return std::nullopt;
    return std::string(kPrefix) + encodeBase64(sealed.data(), sealed.size());
}

std::optional<SealedTexts> CAESGCMSealing::unseal(std::string_view sealed) {
    if (!ensureKey() || sealed.substr(0, kPrefix.size()) != kPrefix)
        return std::nullopt;
    std::vector<unsigned char> bytes;
    if (!decodeBase64(sealed.substr(kPrefix.size()), bytes) ||
        bytes.size() < kNonceSize + 4 + kTagSize)
        return std::nullopt;
    const unsigned char* nonce = bytes.data();
    const unsigned char* cipher = nonce + kNonceSize;
    size_t cipherSize = bytes.size() - kNonceSize - kTagSize;
    unsigned char* tag = bytes.data() + kNonceSize + cipherSize;

    SecretBytes plain(cipherSize);
    CipherContext context(EVP_CIPHER_CTX_new());
    int n = 0, last = 0;
    if (!context ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, m_key, nonce) != 1 ||
        EVP_DecryptUpdate(context.get(), nullptr, &n,
                          reinterpret_cast<const unsigned char*>(kAssociated.data()),
                          static_cast<int>(kAssociated.size())) != 1 ||
        EVP_DecryptUpdate(context.get(), plain.data(), &n, cipher, static_cast<int>(cipherSize)) !=
            1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(kTagSize), tag) !=
            1 ||
        EVP_DecryptFinal_ex(context.get(), plain.data() + n, &last) != 1)
        return std::nullopt;
    uint32_t length1 = 0;
    for (int i = 0; i < 4; ++i)
        length1 = length1 << 8 | plain.data()[i];
    if (length1 > plain.size() - 4)
        return std::nullopt;
    const char* text = reinterpret_cast<const char*>(plain.data()) + 4;
    return SealedTexts(std::string(text, length1),
                       std::string(text + length1, plain.size() - 4 - length1));
}
