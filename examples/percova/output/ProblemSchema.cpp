#include "output/ProblemSchema.h"

namespace percova
{
namespace
{

constexpr char kSchema[] = R"json({
 "$schema": "https://json-schema.org/draft/2020-12/schema",
 "title": "Problem of percova: two-dimensional seepage, steady and in time",
 "type": "object",
 "required": ["gamma_w", "materials", "regions", "boundaries"],
 "dependentRequired": {"time": ["initial"]},
 "properties": {
  "$schema": {"type": "string", "description": "where an editor finds this schema"},
  "id": {"type": "string", "description": "text for the results; the name of the file where absent"},
  "title": {"type": "string", "description": "text for the results"},
  "convention": {"description": "a remark"},
  "wanted": {"description": "a remark"},
  "dimensions": {"description": "a remark"},
  "x_axis": {"description": "a remark"},
  "units": {"anyOf": [{"type": "string", "description": "a remark"}, {"$ref": "#/$defs/units"}],
   "description": "units of the file, its mesh and the results"},
  "gamma_w": {"type": "number", "description": "unit weight of water [kN/m3]"},
  "mesh": {
   "description": "the mesh of the soil; --mesh takes its place",
   "type": "object",
   "properties": {
    "file": {"type": "string", "description": "Gmsh mesh, relative to the problem file"},
    "join": {"anyOf": [{"type": "boolean"}, {"type": "number", "exclusiveMinimum": 0}],
     "description": "one node for nodes that lie on each other in different parts of the mesh; a number is the distance"}
   }
  },
  "materials": {"type": "array", "minItems": 1, "items": {"$ref": "#/$defs/material"}, "description": "the soils"},
  "regions": {
   "description": "what material lies where",
   "type": "array", "minItems": 1,
   "items": {
    "type": "object",
    "required": ["name", "material"],
    "properties": {
     "name": {"$ref": "#/$defs/name", "description": "a physical surface of the mesh"},
     "material": {"type": "string", "description": "name of a material"},
     "polygon": {"$ref": "#/$defs/line", "minItems": 3, "description": "decides where the mesh has no groups"},
     "outline": {"description": "a remark"}, "centre": {"description": "a remark"},
     "arc_radius": {"description": "a remark"}, "curve": {"description": "a remark"}
    },
    "patternProperties": {"^note": {}},
    "additionalProperties": false
   }
  },
  "boundaries": {"type": "array", "minItems": 1, "items": {"$ref": "#/$defs/boundary"}, "description": "conditions on the sides; a side without one is impervious"},
  "sources": {
   "type": "array",
   "description": "wells and drains",
   "items": {
    "type": "object",
    "required": ["name", "rate"],
    "properties": {
     "name": {"$ref": "#/$defs/name"},
     "at": {"$ref": "#/$defs/point"},
     "line": {"$ref": "#/$defs/line", "minItems": 2},
     "rate": {"$ref": "#/$defs/values", "description": "positive into the soil [length^2/time]"}
    },
    "patternProperties": {"^note": {}},
    "additionalProperties": false
   }
  },
  "steps": {
   "description": "changes that last; one analysis each, or in a run in time from start on",
   "type": "array",
   "items": {
    "type": "object",
    "required": ["name"],
    "properties": {
     "name": {"$ref": "#/$defs/name"},
     "start": {"type": "number", "minimum": 0, "description": "time from which on the changes hold"},
     "boundaries": {"type": "object", "additionalProperties": {"$ref": "#/$defs/condition"},
      "description": "new conditions of the boundaries, by their names"},
     "sources": {
      "description": "new rates of the sources, by their names",
      "type": "object",
      "additionalProperties": {
       "type": "object",
       "required": ["rate"],
       "properties": {"rate": {"$ref": "#/$defs/values"}},
       "patternProperties": {"^note": {}},
       "additionalProperties": false
      }
     }
    },
    "patternProperties": {"^note": {}},
    "additionalProperties": false
   }
  },
  "time": {
   "description": "a run in time",
   "type": "object",
   "required": ["end"],
   "properties": {
    "end": {"type": "number", "exclusiveMinimum": 0, "description": "time at which the run ends [time]"},
    "output": {"anyOf": [{"type": "number"}, {"type": "array", "items": {"type": "number"}}],
     "description": "times to write, rising"},
    "tolerance": {"type": "number", "exclusiveMinimum": 0, "description": "largest local error of a head in one step [length]"},
    "first_step": {"type": "number", "exclusiveMinimum": 0, "description": "length of the first step, and of the first after each jump [time]"},
    "largest_step": {"type": "number", "exclusiveMinimum": 0, "description": "longest step [time]; end where absent"},
    "smallest_step": {"type": "number", "exclusiveMinimum": 0, "description": "shortest step [time]; 1e-9 of end where absent"},
    "max_steps": {"type": "integer", "minimum": 1, "description": "most steps of the run; 1000000 where absent"},
    "storage": {"enum": ["lumped", "consistent"], "description": "matrix of the storage; where absent lumped for linear elements, consistent for quadratic ones"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "initial": {
   "description": "state at t = 0",
   "type": "object",
   "required": ["type"],
   "properties": {
    "type": {"enum": ["steady", "hydrostatic", "head", "pressure_head", "result"], "description": "where the heads at t = 0 come from: the steady solution, a water table, given values or an earlier run"},
    "boundaries": {"type": "object", "additionalProperties": {"$ref": "#/$defs/condition"},
     "description": "of the steady state: conditions that differ from those at t = 0, by name"},
    "water_table": {"$ref": "#/$defs/table", "description": "a level, or [x, level]"},
    "value": {"$ref": "#/$defs/table", "description": "a number, or [y, value]"},
    "file": {"type": "string", "description": "of an earlier run: result.json, a .pvd or a .vtu"},
    "time": {"type": "number", "minimum": 0, "description": "of the earlier run; the last one where absent"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "probes": {
   "description": "points whose values are in the results",
   "type": "array",
   "items": {
    "type": "object",
    "required": ["name", "at"],
    "properties": {"name": {"$ref": "#/$defs/name"}, "at": {"$ref": "#/$defs/point"}},
    "patternProperties": {"^note": {}},
    "additionalProperties": false
   }
  },
  "sections": {"type": "array", "items": {"$ref": "#/$defs/named_line"},
   "description": "flow across a line, positive from its left to its right"},
  "flow_net": {"type": "boolean", "description": "draw lines of the stream function"},
  "vectors": {"type": "boolean", "description": "draw arrows of the Darcy flux"},
  "uplift": {"type": "array", "items": {"$ref": "#/$defs/curve_or_line"},
   "description": "lines along which the pore pressure is integrated"},
  "solver": {
   "description": "how the equations are solved",
   "type": "object",
   "properties": {
    "kind": {"enum": ["pardiso", "direct", "iterative"], "description": "method for the linear equations"},
    "tolerance": {"type": "number", "exclusiveMinimum": 0, "exclusiveMaximum": 1, "description": "largest relative residual of the non-linear equations [-]"},
    "max_iterations": {"type": "integer", "minimum": 1, "description": "most iterations of the non-linear equations"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  }
 },
)json"
                           // in two, for compilers that limit the length of one
                           R"json( "$defs": {
  "name": {"type": "string", "minLength": 1, "maxLength": 200},
  "point": {"type": "array", "items": {"type": "number"}, "minItems": 2, "maxItems": 2},
  "line": {"type": "array", "items": {"$ref": "#/$defs/point"}},
  "table": {"anyOf": [{"type": "number"}, {"type": "array", "items": {"$ref": "#/$defs/point"}}]},
  "values": {
   "anyOf": [
    {"type": "number"},
    {"type": "array", "items": {"type": "number"}, "description": "one for each point of the line"},
    {"type": "array", "items": {"type": "array", "minItems": 2, "maxItems": 2},
     "description": "[t, v], linear between; two of one time are a jump"}
   ]
  },
  "named_line": {
   "type": "object",
   "required": ["name", "line"],
   "properties": {"name": {"$ref": "#/$defs/name"}, "line": {"$ref": "#/$defs/line", "minItems": 2}},
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "curve_or_line": {
   "type": "object",
   "required": ["name"],
   "properties": {
    "name": {"$ref": "#/$defs/name", "description": "a physical curve of the mesh where there is no line"},
    "line": {"$ref": "#/$defs/line", "minItems": 2}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "units": {
   "type": "object",
   "properties": {
    "length": {"enum": ["m", "cm", "mm", "ft"], "description": "unit of length; m where absent"},
    "pressure": {"enum": ["kPa", "Pa", "MPa", "bar", "psf", "psi"], "description": "unit of pressure; kPa where absent"},
    "time": {"enum": ["s", "min", "h", "d"], "description": "unit of time; s where absent"},
    "head": {"type": "string", "description": "the unit of length"},
    "conductivity": {"type": "string", "description": "length/time"},
    "flow": {"type": "string", "description": "length3/time"},
    "unit_weight": {"type": "string", "description": "kN/m3"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "material": {
   "type": "object",
   "required": ["name", "k_sat"],
   "properties": {
    "name": {"$ref": "#/$defs/name"},
    "k_sat": {"type": "number", "description": "saturated conductivity [length/time]"},
    "anisotropy": {"type": "number", "description": "conductivity across the direction of k_sat over k_sat"},
    "angle": {"type": "number", "minimum": -360, "maximum": 360, "description": "of the direction of k_sat, in degrees anticlockwise from x"},
    "type": {"enum": ["saturated", "saturated/unsaturated"], "description": "saturated: kr is disregarded"},
    "m_v": {"type": "number", "minimum": 0, "description": "compressibility [1/pressure]"},
    "gamma_sat": {"type": "number", "description": "saturated unit weight [kN/m3]"},
    "void_ratio": {"type": "number", "exclusiveMinimum": 0, "description": "volume of pores over that of grains [-], with specific_gravity in place of gamma_sat"},
    "specific_gravity": {"type": "number", "exclusiveMinimum": 1, "description": "unit weight of the grains over that of water [-], with void_ratio in place of gamma_sat"},
    "water_content": {
     "description": "volumetric water content over pore-water pressure",
     "type": "object",
     "required": ["theta_s"],
     "properties": {
      "rule": {"enum": ["fredlund_xing", "exponential"], "description": "form of the curve; fredlund_xing where absent"},
      "a": {"type": "number", "description": "[pressure]"},
      "n": {"type": "number", "description": "exponent of the slope [-], of Fredlund and Xing"},
      "m": {"type": "number", "description": "exponent of the tail [-], of Fredlund and Xing"},
      "theta_s": {"type": "number", "description": "saturated water content"},
      "theta_r": {"type": "number", "description": "residual water content, of the exponential rule"},
      "limit": {"type": "number", "description": "suction of zero water content [pressure]"},
      "alpha": {"type": "number", "description": "of the exponential rule [1/length]"},
      "points": {"$ref": "#/$defs/line", "minItems": 3, "description": "[pressure, water content], to be fitted"}
     },
     "patternProperties": {"^note": {}},
     "additionalProperties": false
    },
    "kr": {
     "description": "relative conductivity [-]; 1 where absent",
     "type": ["object", "null"],
     "properties": {
      "type": {"$ref": "#/$defs/kr_rule"},
      "rule": {"$ref": "#/$defs/kr_rule"},
      "alpha": {"type": "number", "description": "[1/length]"},
      "floor": {"type": "number", "description": "least relative conductivity of the exponential rule [-]; 0 where absent"},
      "power": {"type": "number", "description": "exponent of theta / theta_s of the power rule [-]"},
      "s0": {"type": "number", "description": "suction up to which it is 1 [pressure]"}
     },
     "patternProperties": {"^note": {}},
     "additionalProperties": false
    }
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "kr_rule": {"enum": ["saturated", "exponential", "power", "integral"]},
  "boundary_type": {"enum": ["head", "pressure_head", "flux", "noflow", "seepage", "hydrostatic"]},
  "boundary": {
   "type": "object",
   "required": ["name", "type"],
   "properties": {
    "name": {"$ref": "#/$defs/name", "description": "a physical curve of the mesh"},
    "line": {"$ref": "#/$defs/line", "minItems": 2, "description": "decides where the mesh has no curve of that name"},
    "type": {"$ref": "#/$defs/boundary_type"},
    "value": {"$ref": "#/$defs/values"},
    "ponding": {"type": "number", "description": "of a flux: largest pressure head [length]"},
    "least_pressure_head": {"type": "number", "description": "of a flux: least pressure head [length]"},
    "outline": {"description": "a remark"}, "centre": {"description": "a remark"},
    "arc_radius": {"description": "a remark"}, "curve": {"description": "a remark"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "condition": {
   "type": "object",
   "required": ["type"],
   "properties": {
    "type": {"$ref": "#/$defs/boundary_type"},
    "value": {"$ref": "#/$defs/values"},
    "ponding": {"type": "number", "description": "of a flux: largest pressure head [length]"},
    "least_pressure_head": {"type": "number", "description": "of a flux: least pressure head [length]"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  }
 }
}
)json";

} // namespace

const char* ProblemSchema() { return kSchema; }

} // namespace percova
