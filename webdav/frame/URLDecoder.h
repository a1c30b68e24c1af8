// Splits a query string into named parameters and decodes their values to the system code page.
//
// Base of a request's data; used by one thread. The walk and the decoding keep their odd ways, as
// clients have come to rely on them. The query string must outlive the decoder: raw values are kept
// as views and decoded when they are asked for. The one failure is ExceptObj "Parameter Too Large".
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace webdav {

class CURLDecoder {
  public:
    explicit CURLDecoder(std::string_view query);
    virtual ~CURLDecoder() = default;
    CURLDecoder(const CURLDecoder&) = delete;
    CURLDecoder& operator=(const CURLDecoder&) = delete;

    /// Finds a parameter without regard to case and decodes its value; false when it is absent.
    bool GetParameter(std::string_view name, std::string& value) const;

    /// Decodes a raw value into at most outputSize - 1 bytes.
    static std::string Decode(std::string_view raw, size_t outputSize);

  private:
    bool NextParameter();
    void takeNameByte(std::string_view rest, size_t& used);
    void addToName(char byte);

    std::string_view rest_;
    std::string name_;
    std::string_view value_;
    std::map<std::string, std::string_view, std::less<>> parameters_;  ///< by upper-case name
};

}  // namespace webdav
