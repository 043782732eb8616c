#include "frame/process_scan.h"

#include "blit/request.h"
#include "boundary/records.h"
#include "surface/registry.h"
#include "surface/screen.h"

int32_t destination_file, destination_graph;

namespace {

/// The graph a process shows, or null when it shows none. Sets `max_graph`.
__ORBSurface2D__ *source_of(const orb_locals &locals) {
  const int32_t file = locals.file, graph = locals.graph;
  max_graph = graph_bound(file);
  if (graph < 1 || graph >= max_graph) return nullptr;
  const orb_fpg &library = fpg[file];
  if (!library.map_count || !library.slots) return nullptr;
  const orb_map_slot &slot = library.slots[graph];
  return slot.code ? slot.surface : nullptr;
}

/// The surface a process draws on, or null when there is none. Reads the source library's bound
/// from `max_graph`.
__ORBSurface2D__ *destination_of(const orb_locals &locals) {
  destination_file = locals.destination_file;
  destination_graph = locals.destination_graph;
  if (destination_file < 0 || destination_file >= max_fpg) return nullptr;
  // QUIRK: checks the bound of the source's library, so a process of a library other than 0 can't
  // draw on the run-time graphs of library 0.
  if (destination_graph < 0 || destination_graph >= max_graph) return nullptr;
  if (destination_graph == 0) return destination_file == 0 ? screen : nullptr;
  pfpgmap_dst = GetMAP(destination_file, destination_graph);
  return pfpgmap_dst ? pfpgmap_dst->surface : nullptr;
}

void fill_request(__ORBBlit2D__ &request, orb_process *process, const orb_locals &locals,
                  __ORBSurface2D__ *source, __ORBSurface2D__ *destination) {
  request = blank_request(source, destination, locals.x, locals.y);
  request.owner = process;
  if (locals.resolution > 0) {
    request.x /= locals.resolution;
    request.y /= locals.resolution;
  }
  request.z = locals.z;
  request.resolution = locals.resolution;
  request.destination_file = locals.destination_file;
  request.destination_graph = locals.destination_graph;
  set_look(request, locals);
  set_transform(request, locals);
  request.blit_op = choose_blit_operation(request, !locals.xgraph);
}

/// One process. False when the list takes no more.
bool scan_process(orb_process *process) {
  if (process->status != 2 && process->status <= 3) return true;
  orb_locals *locals = process->locals;
  if (!locals || locals->visible < 1) return true;
  if (locals->file < 0 || locals->file >= max_fpg) return true;
  if (locals->xgraph && !apply_xgraph(locals)) return true;
  __ORBSurface2D__ *source = source_of(*locals);
  if (!source) return true;
  __ORBSurface2D__ *destination = destination_of(*locals);
  if (!destination) return true;
  __ORBBlit2D__ *request = device2D.GetAndUpdateBlitList();
  if (!request) return false;
  fill_request(*request, process, *locals, source, destination);
  return true;
}

} // namespace

/// Processes whose locals name nothing drawable are skipped silently.
void do_processes() {
  if (!fpg || !orbre->rt_processes || !orbre->rt_processes->proc_first) return;
  for (const orb_process_node *node = orbre->rt_processes->proc_first(0); node; node = node->next)
    if (node->process && !scan_process(node->process)) return;
}
