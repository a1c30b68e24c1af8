// What a PROPFIND asks for: its headers and its body.
#pragma once

#include <cstdint>
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
    virtual ~PropFindRequestBase() = default;

    const std::vector<PropertyName>& properties() const { return properties_; }

  protected:
    /// Appends the children of a DAV:prop element. False when the request asks for more than any
    /// client does.
    bool addProperties(const webdav::ResolvedNames& names, webdav::ElementIndex prop);

  private:
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
