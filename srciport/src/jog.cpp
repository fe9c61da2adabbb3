// SPDX-License-Identifier: Apache-2.0
#include "jog.h"

#include "srciport/codes.h"

#include <cmath>

namespace srciport {

namespace {

int jointJog(const MoveRequest& r, const Joints& start, const MotionContext& ctx, SegmentPath& path, Joints& end,
             int32_t& endError) {
    const int j = r.axis;
    const double limit = r.sense > 0 ? ctx.softLimits[j][1] : ctx.softLimits[j][0];
    double target = r.continuous ? limit : start[j] + r.sense * r.distance;
    const bool pastLimit = r.sense > 0 ? target >= limit : target <= limit;
    if (pastLimit) {
        if (std::fabs(start[j] - limit) < 1e-9 || (r.sense > 0 ? start[j] > limit : start[j] < limit))
            return softLimitCode(j);
        target = limit;
        endError = softLimitCode(j);
    }
    end = start;
    end[j] = target;
    path.emplace<JointPath>(start, end);
    return 0;
}

int cartesianJog(const MoveRequest& r, const Joints& start, const MotionContext& ctx, SegmentPath& path, Joints& end) {
    uint8_t config = 0;
    const Transform tcp = ctx.kin->forward(start, &config) * ctx.tool;
    const Vec3 axis = r.toolAxes ? tcp.rot.col(r.axis % 3) : ctx.frame.rot.col(r.axis % 3);
    const double dist = r.continuous ? kContinuousJogDistance : r.distance;
    if (r.axis < 3)
        path.emplace<CartesianPath>(*ctx.kin, tcp, (r.sense * dist) * axis, Vec3{1, 0, 0}, 0.0, ctx.tool, config);
    else path.emplace<CartesianPath>(*ctx.kin, tcp, Vec3{}, r.sense * axis, dist, ctx.tool, config);
    end = start;  // not known in advance; a jog is never blended
    return 0;
}

}  // namespace

int makeJogPath(const MoveRequest& r, const Joints& start, const MotionContext& ctx, SegmentPath& path, Joints& end,
                int32_t& endError) {
    endError = 0;
    if (r.kind == MoveRequest::Kind::JogJoint) return jointJog(r, start, ctx, path, end, endError);
    return cartesianJog(r, start, ctx, path, end);
}

}  // namespace srciport
