// The PROPFIND answer of a principal: where the user's calendars, address books and mailboxes are.
#pragma once

#include "webdav/dav/PropFindResponse.h"

namespace DAV {

class PrincipalPropFindReponse final : public PropFindResponse {
  public:
    using PropFindResponse::PropFindResponse;

    /// Always 0; the depth plays no part.
    int32_t execute() override;
};

}  // namespace DAV
