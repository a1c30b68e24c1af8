// What a PROPFIND asks for: its headers and its body.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/dav/PropertyRecord.h"
#include "webdav/frame/ISAPIData.h"
#include "webdav/xml/ResolvedNames.h"

namespace DAV {

/// The property list that every request of this family carries.
class PropFindRequestBase {
  public:
    PropFindRequestBase() = default;
    PropFindRequestBase(const PropFindRequestBase&) = delete;
    PropFindRequestBase& operator=(const PropFindRequestBase&) = delete;
    virtual ~PropFindRequestBase() = default;

    const std::vector<PropertyName>& properties() const { return properties_; }

  protected:
    /// Appends the children of a DAV:prop element. False when the request asks for more than any
    /// client does.
    bool addProperties(const webdav::ResolvedNames& names, webdav::ElementIndex prop);

  private:
    const std::string* writableNamespace(std::string_view declared);

    std::set<std::string> namespaces_;
    // By where they are declared: one may be as long as the whole request and have all its
    // elements.
    std::map<const char*, const std::string*> byDeclaration_;
    std::vector<PropertyName> properties_;
};

class PropFindRequest : public PropFindRequestBase {
  public:
    static constexpr int32_t kDepthInfinity = 2;

    /// Reads the headers.
    explicit PropFindRequest(webdav::ISAPIData& data);

    /// Reads the body; false when it holds no DAV:propfind.
    virtual bool setXML(std::string_view body);

    int32_t depth() const { return depth_; }
    bool brief() const { return brief_; }
    bool allprops() const { return allprops_; }
    bool propname() const { return propname_; }
    /// The request's URL as the web server decoded it.
    const std::string& url() const { return url_; }

  private:
    int32_t depth_ = kDepthInfinity;
    bool brief_ = false;
    bool allprops_ = false;
    bool propname_ = false;
    std::string url_;
};

}  // namespace DAV
