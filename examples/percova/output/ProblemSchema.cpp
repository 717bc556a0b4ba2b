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
  "id": {"type": "string"},
  "title": {"type": "string"},
  "convention": {"description": "a remark"},
  "wanted": {"description": "a remark"},
  "dimensions": {"description": "a remark"},
  "x_axis": {"description": "a remark"},
  "units": {"anyOf": [{"type": "string", "description": "a remark"}, {"$ref": "#/$defs/units"}]},
  "gamma_w": {"type": "number", "description": "unit weight of water [kN/m3]"},
  "mesh": {
   "type": "object",
   "properties": {
    "file": {"type": "string", "description": "Gmsh mesh, relative to the problem file"},
    "join": {"anyOf": [{"type": "boolean"}, {"type": "number", "exclusiveMinimum": 0}],
     "description": "one node for nodes that lie on each other in different parts of the mesh; a number is the distance"}
   }
  },
  "materials": {"type": "array", "minItems": 1, "items": {"$ref": "#/$defs/material"}},
  "regions": {
   "type": "array", "minItems": 1,
   "items": {
    "type": "object",
    "required": ["name", "material"],
    "properties": {
     "name": {"$ref": "#/$defs/name", "description": "a physical surface of the mesh"},
     "material": {"type": "string", "description": "name of a material"},
     "polygon": {"$ref": "#/$defs/line", "minItems": 3, "description": "decides where the mesh has no groups"},
     "outline": {}, "centre": {}, "arc_radius": {}, "curve": {}
    },
    "patternProperties": {"^note": {}},
    "additionalProperties": false
   }
  },
  "boundaries": {"type": "array", "minItems": 1, "items": {"$ref": "#/$defs/boundary"}},
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
   "type": "array",
   "items": {
    "type": "object",
    "required": ["name"],
    "properties": {
     "name": {"$ref": "#/$defs/name"},
     "start": {"type": "number", "minimum": 0, "description": "time from which on the changes hold"},
     "boundaries": {"type": "object", "additionalProperties": {"$ref": "#/$defs/condition"}},
     "sources": {
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
   "type": "object",
   "required": ["end"],
   "properties": {
    "end": {"type": "number", "exclusiveMinimum": 0},
    "output": {"anyOf": [{"type": "number"}, {"type": "array", "items": {"type": "number"}}],
     "description": "times to write, rising"},
    "tolerance": {"type": "number", "exclusiveMinimum": 0, "description": "largest local error of a head in one step [length]"},
    "first_step": {"type": "number", "exclusiveMinimum": 0},
    "largest_step": {"type": "number", "exclusiveMinimum": 0},
    "smallest_step": {"type": "number", "exclusiveMinimum": 0},
    "max_steps": {"type": "integer", "minimum": 1},
    "storage": {"enum": ["lumped", "consistent"]}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "initial": {
   "type": "object",
   "required": ["type"],
   "properties": {
    "type": {"enum": ["steady", "hydrostatic", "head", "pressure_head", "result"]},
    "boundaries": {"type": "object", "additionalProperties": {"$ref": "#/$defs/condition"}},
    "water_table": {"$ref": "#/$defs/table", "description": "a level, or [x, level]"},
    "value": {"$ref": "#/$defs/table", "description": "a number, or [y, value]"},
    "file": {"type": "string", "description": "of an earlier run: result.json, a .pvd or a .vtu"},
    "time": {"type": "number", "minimum": 0, "description": "of the earlier run; the last one where absent"}
   },
   "patternProperties": {"^note": {}},
   "additionalProperties": false
  },
  "probes": {
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
   "type": "object",
   "properties": {
    "kind": {"enum": ["pardiso", "direct", "iterative"]},
    "tolerance": {"type": "number", "exclusiveMinimum": 0, "exclusiveMaximum": 1},
    "max_iterations": {"type": "integer", "minimum": 1}
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
    "length": {"enum": ["m", "cm", "mm", "ft"]},
    "pressure": {"enum": ["kPa", "Pa", "MPa", "bar", "psf", "psi"]},
    "time": {"enum": ["s", "min", "h", "d"]},
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
    "type": {"enum": ["saturated", "saturated/unsaturated"]},
    "m_v": {"type": "number", "minimum": 0, "description": "compressibility [1/pressure]"},
    "gamma_sat": {"type": "number", "description": "saturated unit weight [kN/m3]"},
    "void_ratio": {"type": "number", "exclusiveMinimum": 0},
    "specific_gravity": {"type": "number", "exclusiveMinimum": 1},
    "water_content": {
     "type": "object",
     "required": ["theta_s"],
     "properties": {
      "rule": {"enum": ["fredlund_xing", "exponential"]},
      "a": {"type": "number", "description": "[pressure]"},
      "n": {"type": "number"},
      "m": {"type": "number"},
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
     "type": ["object", "null"],
     "properties": {
      "type": {"$ref": "#/$defs/kr_rule"},
      "rule": {"$ref": "#/$defs/kr_rule"},
      "alpha": {"type": "number", "description": "[1/length]"},
      "floor": {"type": "number"},
      "power": {"type": "number"},
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
    "ponding": {"type": "number", "description": "of a flux: largest pressure head"},
    "least_pressure_head": {"type": "number", "description": "of a flux: least pressure head"},
    "outline": {}, "centre": {}, "arc_radius": {}, "curve": {}
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
    "ponding": {"type": "number"},
    "least_pressure_head": {"type": "number"}
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
