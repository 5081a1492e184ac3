#include "devices/iso_image_writer.h"

// libburn defines (in its namespace, for C++) the burn_source that libisofs hands its
// image out through.
#include <libburn/libburn.h>
#include <libisofs/libisofs.h>

#include <cstdio>
#include <filesystem>
#include <mutex>

#include "core/safe_replace.h"
#include "core/trace.h"

namespace osmera {

namespace {

bool InitIsofs() {
    static std::once_flag once;
    static bool ok = false;
    std::call_once(once, [] {
        ok = iso_init() >= 0;
        // Its messages go to our result and the trace, not to stderr.
        char never[] = "NEVER";
        char all[] = "ALL";
        char name[] = "osmera";
        if (ok)
            iso_set_msgs_severities(all, never, name);
    });
    return ok;
}

std::string Failure(int code, const std::string& what) {
    LTracef("WriteIsoImage %s: %s", what.c_str(), iso_error_to_msg(code));
    return what + ": " + iso_error_to_msg(code) + ".";
}

}  // namespace

int WriteIsoImage(const LIsoRequest& request, const std::string& path, LProgress* progress,
                  std::string* message) {
    LNullProgress none;
    if (progress == nullptr)
        progress = &none;
    std::string dummy;
    std::string& msg = message ? *message : dummy;
    if (!InitIsofs()) {
        msg = "The ISO image library could not be started.";
        return kJobFailed;
    }
    if (request.paths.empty()) {
        msg = "There are no files to put into the image.";
        return kJobFailed;
    }
    IsoImage* image = nullptr;
    const std::string volume = request.volumeId.empty() ? "OSMERA" : request.volumeId;
    int rc = iso_image_new(volume.c_str(), &image);
    if (rc < 0) {
        msg = Failure(rc, "The image could not be made");
        return kJobFailed;
    }
    iso_tree_set_follow_symlinks(image, 1);
    IsoDir* root = iso_image_get_root(image);
    for (const std::string& p : request.paths) {
        std::error_code ec;
        // libisofs reads files by absolute path.
        const std::filesystem::path fp = std::filesystem::absolute(p, ec);
        const std::string name =
            fp.filename().empty() ? fp.parent_path().filename().string() : fp.filename().string();
        if (std::filesystem::is_directory(fp, ec)) {
            IsoDir* dir = nullptr;
            rc = iso_tree_add_new_dir(root, name.c_str(), &dir);
            if (rc >= 0)
                rc = iso_tree_add_dir_rec(image, dir, fp.c_str());
        } else {
            rc = iso_tree_add_new_node(image, root, name.c_str(), fp.c_str(), nullptr);
        }
        if (rc < 0) {
            msg = rc == static_cast<int>(ISO_NODE_NAME_NOT_UNIQUE)
                      ? "Two of the files are called \"" + name +
                            "\"; an image's folder "
                            "cannot hold both."
                      : Failure(rc, "\"" + p + "\" cannot be added");
            iso_image_unref(image);
            return kJobFailed;
        }
    }
    IsoWriteOpts* opts = nullptr;
    iso_write_opts_new(&opts, 2);  // the portable profile: Rock Ridge, ISO level 2
    iso_write_opts_set_rockridge(opts, 1);
    iso_write_opts_set_joliet(opts, 1);
    iso_write_opts_set_iso_level(opts, 3);  // files of 4 GiB and more
    ::burn_source* made = nullptr;
    rc = iso_image_create_burn_source(image, opts, &made);
    auto* src = reinterpret_cast<burn::burn_source*>(made);
    iso_write_opts_free(opts);
    if (rc < 0) {
        msg = Failure(rc, "The image could not be laid out");
        iso_image_unref(image);
        return kJobFailed;
    }

    int result = kJobDone;
    {
        LSafeReplace out(path);
        FILE* f = out.Failed() ? nullptr : std::fopen(out.TempPath().c_str(), "wb");
        if (f == nullptr) {
            msg = "\"" + path + "\" cannot be written.";
            result = kJobFailed;
        }
        const double total = static_cast<double>(src->get_size(src));
        double done = 0;
        progress->SetLine(0, "Creating ISO image");
        progress->SetLine(1, path);
        unsigned char block[2048];  // libisofs hands its image out one block per read
        while (result == kJobDone) {
            if (progress->IsCancelled()) {
                src->cancel(src);
                result = kJobCancelled;
                break;
            }
            const int n = src->read_xt(src, block, sizeof block);
            if (n < 0) {
                msg = "The image could not be built (a file could not be read).";
                result = kJobFailed;
            } else if (n == 0) {
                break;
            } else if (std::fwrite(block, 1, static_cast<size_t>(n), f) != static_cast<size_t>(n)) {
                msg = "\"" + path + "\" could not be written (is the disk full?).";
                src->cancel(src);
                result = kJobFailed;
            }
            done += n;
            if (total > 0)
                progress->SetFraction(done / total);
        }
        if (f != nullptr && std::fclose(f) != 0 && result == kJobDone) {
            msg = "\"" + path + "\" could not be written (is the disk full?).";
            result = kJobFailed;
        }
        if (result == kJobDone && !out.Commit()) {
            msg = "\"" + path + "\" could not be replaced: " + out.ErrorText();
            result = kJobFailed;
        }
    }
    src->free_data(src);
    free(src);
    iso_image_unref(image);
    return result;
}

}  // namespace osmera
