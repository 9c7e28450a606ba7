#include "foundation/control_startup.h"

#include "foundation/config_node.h"
#include "foundation/error_log.h"
#include "foundation/form.h"
#include "foundation/frame.h"
#include "foundation/runtime.h"
#include "foundation/server_factory.h"
#include "foundation/trace_names.h"
#include "foundation/ui_host.h"

namespace vellix {

namespace {

// A colour component: the number at the start of the key's text, as 16 bits.
int32_t ColourPart(ConfigNode& root, const std::string& key) {
  return CInt(Val(root.GetValue(key).ToString()));
}

// The message of an unreachable server, with the factory's reason on a
// second line when it knows one.
std::string Unreachable(const char* message, const ServerFactory& servers) {
  const std::string why = servers.WhyUnreachable();
  return why.empty() ? std::string(message) : std::string(message) + "\n" + why;
}

}  // namespace

void ControlStartup::Main(Context& ctx, Form& frmPopup) {
  Frame frame(ctx, TraceNames::Startup, "Main");
  // The error log itself may be what failed: the end of Main never raises.
  frame.PassOverErrors = true;
  frame.Run([&] {
    ServerFactory& servers = ctx.Servers();
    std::shared_ptr<void> holder = servers.CreateStartupHolder();

    ctx.errorConnector = servers.CreateErrorConnector();
    if (!ctx.errorConnector.IsNothing()) ctx.errorLog = ctx.errorConnector->ErrorLog();
    if (ctx.errorLog.IsNothing()) {
      ctx.Host().MsgBox(
          Unreachable("Vellix Control Unrecoverable Error - Unable to attach to Error Log",
                      servers),
          MsgButtons::OK, "");
      return;
    }
    ctx.errorLog->ComponentStarted(kProject);

    ctx.configConnector = servers.CreateConfigConnector();
    if (!ctx.configConnector.IsNothing()) ctx.rootNode = ctx.configConnector->RootNode();
    if (ctx.rootNode.IsNothing()) {
      ctx.Host().MsgBox(
          Unreachable("Vellix Control Unrecoverable Error - Unable to attach to Config", servers),
          MsgButtons::OK, "");
      return;
    }
    holder.reset();

    ConfigNode& root = *ctx.rootNode;
    ctx.externalDateFormat =
        root.GetValue("CommonFormat.GlobalConfig.ExternalDateFormat").ToString();
    ctx.externalTimeFormat =
        root.GetValue("CommonFormat.GlobalConfig.ExternalTimeFormat").ToString();
    ctx.externalDateTimeFormat =
        root.GetValue("CommonFormat.GlobalConfig.ExternalDateTimeFormat").ToString();

    const int32_t red = ColourPart(root, "CommonFormat.Color.BackColorRed");
    const int32_t green = ColourPart(root, "CommonFormat.Color.BackColorGreen");
    const int32_t blue = ColourPart(root, "CommonFormat.Color.BackColorBlue");
    ctx.backColor = red + 256 * green + 65536 * blue;

    // The control panel's branch is grafted once per tree, from the boot file.
    if (root.GetNode(kBranch, false, "", Variant()).IsNothing()) {
      Ref<ConfigNode> boot = servers.CreateConfigNode();
      const std::string path = ctx.services.exeFolder + "\\" + kBootConfigFile;
      if (!boot->LoadFile(path)) {
        frame.ErrorText = "Unable to Open Boot Config";
        return;
      }
      if (!root.AttachBranch(boot, "Componants")) {
        frame.ErrorText = "Unable to attach Boot Config";
        return;
      }
      root.Commit("");
    }

    frmPopup.Show(false);
  });
}

}  // namespace vellix
